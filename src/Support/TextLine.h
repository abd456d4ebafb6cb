#pragma once

#include <QFont>
#include <QPainter>
#include <QString>
#include <QTextLayout>

#include <memory>

/// One line of text to measure and draw, in the font's units. White space of any kind is a space.
///
/// With equal cells every digit is as wide as the widest, and stands in the middle of that room, so
/// that a time that runs stands still. Qt 6.4 cannot ask a font for such digits.
class TextLine {
public:
    enum class Digits { asTheyCome, equalCells };

    TextLine(const QString& text, const QFont& font, Digits digits = Digits::asTheyCome);

    [[nodiscard]] QString text() const { return m_layout->text(); }
    [[nodiscard]] double width() const;
    /// Of the whole line, above and below the baseline.
    [[nodiscard]] double height() const;
    /// Above the baseline.
    [[nodiscard]] double ascent() const;

    /// The line itself where it fits, otherwise as much of its beginning as fits with an ellipsis
    /// behind it; at least the ellipsis.
    [[nodiscard]] TextLine elided(double width) const;

    /// In the painter's pen.
    void draw(QPainter& painter, const QPointF& topLeft) const;

private:
    Digits m_digits;
    /// What the first digit's cell has to the left of the digit.
    double m_indent = 0;
    std::unique_ptr<QTextLayout> m_layout;
};
