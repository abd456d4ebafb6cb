#pragma once

#include <QPainter>
#include <QSizeF>
#include <QString>
#include <QTextLayout>

#include <memory>

/// A message set as large as its box allows: the largest size at which it fits in at most four
/// lines without breaking a word, between the two sizes given. A text too long even for the
/// smallest size is broken anywhere and cut with an ellipsis at the end of its fourth line.
class MessageLayout {
public:
    /// Sizes are in the units of `box`, and may be fractions.
    MessageLayout(const QString& text, const QSizeF& box, double smallestSize, double largestSize);

    /// Draws the message centred in its box, whose top left corner is at `position`.
    void draw(QPainter& painter, const QPointF& position) const;

    [[nodiscard]] double fontSize() const;
    [[nodiscard]] int lineCount() const { return m_layout->lineCount(); }
    /// What is drawn: the text, or its beginning with an ellipsis.
    [[nodiscard]] QString text() const { return m_layout->text(); }
    /// The room that the lines take within the box.
    [[nodiscard]] QRectF textRect() const;
    /// Where the letters leave ink, a pixel of antialiasing aside. Some reach beyond their lines,
    /// and marks piled up beyond the box.
    [[nodiscard]] QRectF inkRect() const;

private:
    [[nodiscard]] double top() const;
    void layOut(const QString& text, double fontSize, QTextOption::WrapMode wrapMode);
    [[nodiscard]] bool fits(double fontSize) const;
    void cut(double fontSize);

    QSizeF m_box;
    /// From the layout's units to the box's.
    double m_scale = 1;
    std::unique_ptr<QTextLayout> m_layout;
    double m_width = 0;
    double m_height = 0;
    /// Of the tallest line.
    double m_lineHeight = 0;
};
