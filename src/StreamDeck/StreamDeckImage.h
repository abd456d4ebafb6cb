#pragma once

#include "StreamDeck/StreamDeckDevice.h"

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QString>

#include <functional>
#include <optional>

/// The pictures on the keys: how one is drawn, turned as the device wants it, and encoded.
namespace StreamDeckImage {

/// What one key shows.
struct KeyFace {
    /// Empty for none.
    QString title = {};
    /// Small, at the bottom; empty for none.
    QString subtitle = {};
    /// Drawn above the title; a name that no symbol has draws nothing.
    std::optional<QString> systemSymbol = {};
    /// Of everything that is drawn; the subtitle is a little fainter.
    QColor tint = Qt::white;
    QColor background = Qt::black;
    /// Lit: the background is lighter.
    bool pressed = false;
    /// Keeps the room of an empty subtitle free, so that the key lines up with those that have one.
    bool reserveSubtitle = false;
    /// The title takes all the room, with digits in equal cells, so that a running time stands
    /// still.
    bool largeTitle = false;

    bool operator==(const KeyFace&) const = default;

    /// A key that shows nothing.
    static const KeyFace blank;
};

/// A picture of `pixels` × `pixels`, upright; null when that is less than 1.
[[nodiscard]] QImage render(const KeyFace& face, int pixels);

/// A square picture turned and mirrored as the model's panel wants it.
[[nodiscard]] QImage transform(QImage picture, const StreamDeckModel& model);

/// The bytes of a file with 24 bits a pixel. A picture that is not opaque lies on black, here and
/// in jpeg().
[[nodiscard]] QByteArray bmp(QImage picture);

/// The bytes of a file; nothing, and a line on the log, when it cannot be made. `quality` from 0
/// to 1.
[[nodiscard]] std::optional<QByteArray> jpeg(QImage picture, double quality);

/// The file that the model takes for a picture of render(); nothing for a model without displays
/// or when it cannot be made.
[[nodiscard]] std::optional<QByteArray> encode(QImage picture, const StreamDeckModel& model);

/// The size at which a line fits a room: as large as the height allows, a point smaller at a time
/// where it is too wide, at least 8. `width` says how wide the line is at a size.
[[nodiscard]] double fittedFontSize(
    double roomHeight, double roomWidth, const std::function<double(double)>& width);

} // namespace StreamDeckImage
