#pragma once

#include <QColor>
#include <QPainter>
#include <QProxyStyle>

/// The console's look, light or dark as the desktop's own palette is: it replaces that palette with
/// one of its two, and draws the common controls. For the whole application, dialogs included.
class ConsoleStyle final : public QProxyStyle {
public:
    enum class Appearance { light, dark };

    /// A scroll bar with this property lies over the content, whose width then does not depend on
    /// whether there is one.
    static constexpr const char* scrollBarOverlaps = "scrollBarOverlaps";

    ConsoleStyle();

    /// Makes it the application's style, and Inter its font.
    static void install();
    /// Secondary text is in the role PlaceholderText, a warning in BrightText.
    [[nodiscard]] static QPalette palette(Appearance appearance);

    using QProxyStyle::polish;
    /// A palette with a dark window becomes the dark one, any other the light one.
    void polish(QPalette& palette) override;

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
        const QWidget* widget = nullptr) const override;
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
        const QWidget* widget = nullptr) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
        QPainter* painter, const QWidget* widget = nullptr) const override;
    [[nodiscard]] QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option,
        SubControl subControl, const QWidget* widget = nullptr) const override;
    [[nodiscard]] QRect subElementRect(SubElement element, const QStyleOption* option,
        const QWidget* widget = nullptr) const override;
    [[nodiscard]] QSize sizeFromContents(ContentsType type, const QStyleOption* option,
        const QSize& contents, const QWidget* widget = nullptr) const override;
    [[nodiscard]] int pixelMetric(PixelMetric metric, const QStyleOption* option = nullptr,
        const QWidget* widget = nullptr) const override;
    [[nodiscard]] QIcon standardIcon(StandardPixmap icon, const QStyleOption* option = nullptr,
        const QWidget* widget = nullptr) const override;
    [[nodiscard]] int styleHint(StyleHint hint, const QStyleOption* option = nullptr,
        const QWidget* widget = nullptr, QStyleHintReturn* result = nullptr) const override;
};

/// What is on, chosen or in the focus. White text can be read on it.
[[nodiscard]] QColor accentColor(const QPalette& palette);
/// Text of less weight, outlines and resting controls; with an opacity where a control says so.
[[nodiscard]] QColor secondaryColor(const QPalette& palette);
/// The room inside a group of controls.
[[nodiscard]] QColor groupColor(const QPalette& palette);
/// A hint that something needs the operator.
[[nodiscard]] QColor warningColor(const QPalette& palette);
/// What takes something away for good.
[[nodiscard]] QColor destructiveColor(const QPalette& palette);
/// A device that is there.
[[nodiscard]] QColor connectedColor(const QPalette& palette);

/// White text can be read on each of them.
namespace TransportColor {

inline constexpr QColor green(0x1d, 0x83, 0x38);
inline constexpr QColor orange(0xb4, 0x5c, 0x00);
inline constexpr QColor red(0xd1, 0x33, 0x2e);
inline constexpr QColor gray(0x6b, 0x6b, 0x72);

} // namespace TransportColor

/// The colour with its own opacity times `opacity`, 0...1.
[[nodiscard]] QColor withOpacity(QColor color, double opacity);

/// Whether a widget has the focus and got it from the keyboard, so that it should say so.
[[nodiscard]] bool showsFocus(const QWidget& widget);

/// The ring of the focus, just inside `bounds`.
void drawFocusRing(QPainter& painter, const QRectF& bounds, double radius, const QPalette& palette);

/// A rounded rectangle with a line of one point just inside its edge.
void drawRoundedBox(QPainter& painter, const QRectF& bounds, double radius, const QColor& fill,
    const QColor& outline);
