#include "Support/TextLine.h"

#include <QFontMetricsF>

#include <algorithm>

namespace {

QString withPlainSpaces(QString text)
{
    std::ranges::replace_if(
        text, [](QChar character) { return character.isSpace(); }, u' ');
    return text;
}

/// How far the digits of any script are from the widest of their script.
double missingWidth(QChar character, const QFontMetricsF& metrics)
{
    if (!character.isDigit())
        return 0;
    const int zero = character.unicode() - character.digitValue();
    double widest = 0;
    for (int digit = 0; digit < 10; ++digit)
        widest = std::max(widest, metrics.horizontalAdvance(QChar(zero + digit)));
    return widest - metrics.horizontalAdvance(character);
}

/// Centres every digit in its cell by what follows it and by what follows the character before it.
/// A format of its own also keeps a digit from moving closer to its neighbours.
QList<QTextLayout::FormatRange> digitFormats(const QString& text, const QFont& font)
{
    const QFontMetricsF metrics(font);
    QList<QTextLayout::FormatRange> formats;
    formats.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        const double before = missingWidth(text[i], metrics) / 2;
        const double after = i + 1 < text.size() ? missingWidth(text[i + 1], metrics) / 2 : 0;
        if (!text[i].isDigit() && after == 0)
            continue;
        QTextCharFormat format;
        format.setFontLetterSpacingType(QFont::AbsoluteSpacing);
        format.setFontLetterSpacing(before + after);
        formats.push_back({i, 1, format});
    }
    return formats;
}

} // namespace

TextLine::TextLine(const QString& text, const QFont& font, Digits digits)
    : m_digits(digits)
    , m_layout(std::make_unique<QTextLayout>(withPlainSpaces(text), font))
{
    m_layout->setCacheEnabled(true);
    if (digits == Digits::equalCells) {
        m_layout->setFormats(digitFormats(text, font));
        if (!text.isEmpty())
            m_indent = missingWidth(text.front(), QFontMetricsF(font)) / 2;
    }
    m_layout->beginLayout();
    m_layout->createLine();
    m_layout->endLayout();
}

double TextLine::width() const
{
    return m_indent + m_layout->lineAt(0).horizontalAdvance();
}

double TextLine::height() const
{
    return m_layout->lineAt(0).ascent() + m_layout->lineAt(0).descent();
}

double TextLine::ascent() const
{
    return m_layout->lineAt(0).ascent();
}

TextLine TextLine::elided(double width) const
{
    const QString whole = text();
    TextLine line(whole, m_layout->font(), m_digits);
    int end = m_layout->lineAt(0).xToCursor(width);
    while (line.width() > width) {
        line = TextLine(whole.first(end) + u'…', m_layout->font(), m_digits);
        if (end == 0)
            break;
        end = m_layout->previousCursorPosition(end);
    }
    return line;
}

void TextLine::draw(QPainter& painter, const QPointF& topLeft) const
{
    m_layout->draw(&painter, topLeft + QPointF(m_indent, 0));
}
