#pragma once

#include <QFont>

/// The two typefaces that the program brings along, so that its pictures are the same on every
/// machine. A glyph that they lack comes from the system's fonts.
///
/// Sizes are whole pixels; a fraction is drawn by scaling the painter. Nothing is hinted, so that
/// everything scales evenly.
namespace Fonts {

/// Inter.
[[nodiscard]] QFont system(int pixelSize, QFont::Weight weight);

/// JetBrains Mono: every glyph is exactly 0.6 of the size wide.
[[nodiscard]] QFont monospaced(int pixelSize, QFont::Weight weight);

} // namespace Fonts
