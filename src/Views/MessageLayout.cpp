#include "Views/MessageLayout.h"

#include "Support/Fonts.h"

#include <QFontMetricsF>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr int mostLines = 4;
/// What text is measured and laid out at, whatever size it is drawn at: it scales evenly.
constexpr int layoutSize = 64;
/// The search for a size stops here; a quarter of a pixel is not seen on a stage.
constexpr double tolerance = 0.25;

QFont messageFont()
{
    return Fonts::system(layoutSize, QFont::DemiBold);
}

/// A piece of text that is not broken, with the white space behind it.
struct Word {
    double width = 0;
    double space = 0;
    /// The line ends behind it, whatever room is left.
    bool endsLine = false;
};

/// With the one line break that a layout knows.
QString withLineSeparators(QString text)
{
    return text.replace(u"\r\n"_s, u"\n"_s).replace(u'\n', QChar::LineSeparator);
}

/// The words of a text, shaped all at once: word by word it takes three times as long.
std::vector<Word> wordsOf(const QString& text)
{
    QTextLayout layout(text, messageFont());
    layout.setTextOption(QTextOption());
    layout.beginLayout();
    // Without a width a line ends at a line separator alone.
    while (layout.createLine().isValid()) { }
    layout.endLayout();

    std::vector<Word> words;
    QTextBoundaryFinder breaks(QTextBoundaryFinder::Line, text);
    int lineNumber = 0;
    for (int start = 0; start < text.size();) {
        const auto end = static_cast<int>(breaks.toNextBoundary());
        if (end < 0)
            break;
        const bool isMandatory =
            breaks.boundaryReasons().testFlag(QTextBoundaryFinder::MandatoryBreak);
        QTextLine line = layout.lineAt(lineNumber);
        while (start >= line.textStart() + line.textLength())
            line = layout.lineAt(++lineNumber);
        int wordEnd = end;
        while (wordEnd > start && text[wordEnd - 1].isSpace())
            --wordEnd;
        const double from = line.cursorToX(start);
        const double behindWord = line.cursorToX(wordEnd);
        const double to = wordEnd == end ? behindWord : line.cursorToX(end);
        words.push_back({.width = std::abs(behindWord - from),
            .space = std::abs(to - behindWord),
            .endsLine = isMandatory});
        start = end;
    }
    return words;
}

/// How many lines the words take, each as full as it can be.
int linesOf(const std::vector<Word>& words, double width)
{
    int lines = 1;
    double used = 0;
    for (size_t i = 0; i < words.size(); ++i) {
        if (used > 0 && used + words[i].width > width) {
            ++lines;
            used = 0;
        }
        used += words[i].width + words[i].space;
        if (words[i].endsLine && i + 1 < words.size()) {
            ++lines;
            used = 0;
        }
    }
    return lines;
}

/// The largest size at which the words fit, or the smallest size if they fit at none.
double largestFit(const std::vector<Word>& words, double lineHeight, const QSizeF& box,
    double smallest, double largest)
{
    const auto widest = std::ranges::max_element(words, {}, &Word::width);
    const auto fits = [&](double size) {
        const double scale = size / layoutSize;
        if (widest != words.end() && widest->width * scale > box.width())
            return false;
        const int lines = linesOf(words, box.width() / scale);
        return lines <= mostLines && lines * lineHeight * scale <= box.height();
    };
    if (fits(largest))
        return largest;
    while (largest - smallest > tolerance) {
        const double middle = (smallest + largest) / 2;
        (fits(middle) ? smallest : largest) = middle;
    }
    return smallest;
}

} // namespace

MessageLayout::MessageLayout(
    const QString& text, const QSizeF& box, double smallestSize, double largestSize)
    : m_box(box)
{
    const QFontMetricsF metrics(messageFont());
    const QString lines = withLineSeparators(text);
    double size = largestFit(wordsOf(lines), metrics.height(), box, smallestSize, largestSize);
    layOut(lines, size, QTextOption::WordWrap);
    // Words that were measured one by one may be a little wider together, and fonts that stand in
    // for a missing glyph may be taller.
    while (!fits(size) && size > smallestSize) {
        size = std::max(smallestSize, size * 0.97);
        layOut(lines, size, QTextOption::WordWrap);
    }
    if (!fits(size)) {
        layOut(lines, size, QTextOption::WrapAtWordBoundaryOrAnywhere);
        cut(size);
    }
}

void MessageLayout::draw(QPainter& painter, const QPointF& position) const
{
    painter.save();
    painter.translate(position + QPointF(0, (m_box.height() - m_height * m_scale) / 2));
    painter.scale(m_scale, m_scale);
    m_layout->draw(&painter, QPointF());
    painter.restore();
}

double MessageLayout::fontSize() const
{
    return m_scale * layoutSize;
}

QRectF MessageLayout::textRect() const
{
    const QSizeF size(m_width * m_scale, m_height * m_scale);
    return {
        QPointF((m_box.width() - size.width()) / 2, (m_box.height() - size.height()) / 2), size};
}

void MessageLayout::layOut(const QString& text, double fontSize, QTextOption::WrapMode wrapMode)
{
    m_scale = fontSize / layoutSize;
    m_width = 0;
    m_height = 0;
    QTextOption option(Qt::AlignHCenter);
    option.setWrapMode(wrapMode);
    m_layout = std::make_unique<QTextLayout>(text, messageFont());
    m_layout->setTextOption(option);
    m_layout->setCacheEnabled(true);
    m_layout->beginLayout();
    for (QTextLine line = m_layout->createLine(); line.isValid(); line = m_layout->createLine()) {
        line.setLineWidth(m_box.width() / m_scale);
        line.setPosition({0, m_height});
        m_width = std::max(m_width, line.naturalTextWidth());
        m_height += line.height();
    }
    m_layout->endLayout();
}

bool MessageLayout::fits(double fontSize) const
{
    const double scale = fontSize / layoutSize;
    return m_layout->lineCount() <= mostLines && m_width * scale <= m_box.width()
        && m_height * scale <= m_box.height();
}

/// Keeps the lines that fit, the last of them cut short with an ellipsis.
void MessageLayout::cut(double fontSize)
{
    const double lineHeight = m_height / std::max(1, m_layout->lineCount());
    const int room = static_cast<int>(m_box.height() / m_scale / lineHeight);
    const int lines = std::clamp(room, 1, mostLines);
    if (m_layout->lineCount() <= lines)
        return;
    const QString text = m_layout->text();
    const qsizetype start = m_layout->lineAt(lines - 1).textStart();
    QString rest = text.sliced(start);
    if (const qsizetype end = rest.indexOf(QChar::LineSeparator); end >= 0)
        rest = rest.first(end) + u'…';
    const double width = m_box.width() / m_scale;
    const QFontMetricsF metrics(messageFont());
    layOut(text.first(start) + metrics.elidedText(rest, Qt::ElideRight, width), fontSize,
        QTextOption::WrapAtWordBoundaryOrAnywhere);
}
