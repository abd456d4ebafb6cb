#pragma once

#include "Model/DisplayState.h"
#include "Views/MessageTransition.h"

#include <QPainter>

/// The colours of the audience picture at one moment.
struct OutputColors {
    RGBColor background;
    /// Of the time and of the message.
    RGBColor text;

    bool operator==(const OutputColors&) const = default;

    [[nodiscard]] static OutputColors of(const AppSettings& settings, TimeThreshold threshold);
};

/// What the audience picture is painted from.
struct OutputContent {
    DisplaySnapshot snapshot = {};
    OutputColors colors = {};
    MessageTransition transition = {};

    bool operator==(const OutputContent&) const = default;

    /// As it stands now.
    [[nodiscard]] static OutputContent of(
        const TimerEngine& engine, const AppSettings& settings, const MessageAnimator& animator);

    /// The part that can be seen, the rest as by default: two contents look the same when these
    /// are equal. Behind a blackout there is nothing but the background, behind the strobe nothing
    /// at all.
    [[nodiscard]] OutputContent visiblePart() const;
};

/// Paints the audience picture into the rectangle from (0, 0) to `size`, in the painter's units.
///
/// The picture depends on nothing but the arguments: the same moment looks the same in every
/// window, in the console's preview and on the network. Message and presence are the
/// transition's, everything else is the snapshot's.
void paintOutput(QPainter& painter, const QSizeF& size, const OutputContent& content);

/// Where the time is set: at the top, over the full width; of the full height while there is no
/// message, and of 0.4 of it when the message is all there.
[[nodiscard]] QRectF timeBox(const QSizeF& size, double messagePresence);

/// Where a time in such a box leaves ink, a pixel of antialiasing aside. Some scripts have tails
/// that reach below the box.
[[nodiscard]] QRectF timeInk(const QRectF& box, const QString& text);

/// The size of the time's font in a box; it depends on nothing but the box.
[[nodiscard]] double timeFontSize(const QSizeF& box);
