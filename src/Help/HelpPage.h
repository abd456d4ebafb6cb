#pragma once

#include <QColor>
#include <QImage>
#include <QString>
#include <QUrl>

enum class Appearance { light, dark };

/// The help page, in the colours of an appearance. Its pictures are helpPicture()'s.
[[nodiscard]] QString helpPage(Appearance appearance);

/// What lies behind the page.
[[nodiscard]] QColor helpBackground(Appearance appearance);

/// What the page shows as a picture within its lines, drawn for a screen of this many pixels to the
/// point: "key:TEXT" is a key cap, "badge:TEXT" a time as the audience sees it, "symbol:NAME" one
/// of the program's symbols. Null for any other address.
[[nodiscard]] QImage helpPicture(const QUrl& address, Appearance appearance, double pixelRatio);
