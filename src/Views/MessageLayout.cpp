#include "Views/MessageLayout.h"

#include "Support/Fonts.h"

#include <QFontMetricsF>
#include <QGlyphRun>
#include <QPainterPath>
#include <QRawFont>
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

/// What could be seen of a text at the smallest size, and some more: all that follows would be
/// measured in vain, and whoever sends a message decides how long it is.
QString visibleBeginning(const QString& text, const QSizeF& box, double smallestSize)
{
    constexpr double narrowestCharacter = 0.2;
    constexpr double mostCharacters = 4000;
    const double fitting = mostLines * box.width() / (narrowestCharacter * smallestSize);
    const auto limit = static_cast<qsizetype>(std::min(mostCharacters, std::ceil(fitting)));
    if (text.size() <= limit)
        return text;
    QTextBoundaryFinder boundaries(QTextBoundaryFinder::Grapheme, text.constData(), limit + 1);
    boundaries.setPosition(limit);
    const qsizetype whole = boundaries.isAtBoundary() ? limit : boundaries.toPreviousBoundary();
    return text.first(whole > 0 ? whole : limit) + u'…';
}

/// With the one line break that a layout knows in place of all others.
QString withLineSeparators(QString text)
{
    text.replace(u"\r\n"_s, u"\n"_s);
    for (QChar& character : text) {
        switch (character.unicode()) {
        case u'\n':
        case u'\r':
        case u'\v':
        case u'\f':
        case 0x85:
        case QChar::ParagraphSeparator:
            character = QChar::LineSeparator;
            break;
        default:
            break;
        }
    }
    return text;
}

/// Characters beyond the first plane count as right-to-left: some are, and few messages have any.
bool mayHaveRightToLeft(const QString& text)
{
    return std::ranges::any_of(text, [](QChar character) {
        return character.direction() == QChar::DirR || character.direction() == QChar::DirAL
            || character.isSurrogate();
    });
}

/// Measures pieces of one text. In a text of one direction they lie side by side, and one layout
/// has them all; that takes a third of the time of measuring them one by one.
class Ruler {
public:
    Ruler(const QString& text, const QFontMetricsF& metrics)
        : m_text(text)
        , m_metrics(metrics)
        , m_layout(text, messageFont())
        , m_isSideBySide(!mayHaveRightToLeft(text))
    {
        if (!m_isSideBySide)
            return;
        m_layout.beginLayout();
        // Without a width a line ends at a line separator alone.
        while (m_layout.createLine().isValid()) { }
        m_layout.endLayout();
    }

    /// Of a piece without a line break; pieces are asked for in their order.
    [[nodiscard]] double width(int start, int end)
    {
        if (start == end)
            return 0;
        if (!m_isSideBySide)
            return m_metrics.horizontalAdvance(m_text.sliced(start, end - start));
        QTextLine line = m_layout.lineAt(m_line);
        while (start >= line.textStart() + line.textLength()) {
            line = m_layout.lineAt(++m_line);
            m_end = {};
        }
        const double left = start == m_end.position ? m_end.x : line.cursorToX(start);
        m_end = {end, line.cursorToX(end)};
        return m_end.x - left;
    }

private:
    /// Of the piece before: most begin where that one ended.
    struct Edge {
        int position = -1;
        double x = 0;
    };

    const QString& m_text;
    const QFontMetricsF& m_metrics;
    QTextLayout m_layout;
    bool m_isSideBySide;
    int m_line = 0;
    Edge m_end;
};

std::vector<Word> wordsOf(const QString& text, const QFontMetricsF& metrics)
{
    std::vector<Word> words;
    Ruler ruler(text, metrics);
    QTextBoundaryFinder breaks(QTextBoundaryFinder::Line, text);
    for (int start = 0; start < text.size();) {
        const auto end = static_cast<int>(breaks.toNextBoundary());
        if (end < 0)
            break;
        const bool isMandatory =
            breaks.boundaryReasons().testFlag(QTextBoundaryFinder::MandatoryBreak);
        const int spaceEnd = isMandatory && text[end - 1] == QChar::LineSeparator ? end - 1 : end;
        int wordEnd = spaceEnd;
        while (wordEnd > start && text[wordEnd - 1].isSpace())
            --wordEnd;
        words.push_back({.width = ruler.width(start, wordEnd),
            .space = ruler.width(wordEnd, spaceEnd),
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

/// Letters one by one: a run of large ones is filled as one outline by Qt, which takes several
/// times as long. What has no outline, as a picture in a typeface, is Qt's.
void fillGlyphs(QPainter& painter, const QGlyphRun& run)
{
    const QRawFont font = run.rawFont();
    const QList<quint32> glyphs = run.glyphIndexes();
    const QList<QPointF> positions = run.positions();
    std::vector<QPainterPath> outlines;
    for (qsizetype i = 0; i < glyphs.size(); ++i) {
        QPainterPath outline = font.pathForGlyph(glyphs[i]);
        if (outline.isEmpty() && !font.boundingRect(glyphs[i]).isEmpty()) {
            painter.drawGlyphRun(QPointF(), run);
            return;
        }
        outline.setFillRule(Qt::WindingFill);
        outlines.push_back(outline.translated(positions[i]));
    }
    for (const QPainterPath& outline : outlines)
        painter.fillPath(outline, painter.pen().color());
}

} // namespace

MessageLayout::MessageLayout(
    const QString& text, const QSizeF& box, double smallestSize, double largestSize)
    : m_box(box)
{
    const QFontMetricsF metrics(messageFont());
    const QString lines = withLineSeparators(visibleBeginning(text, box, smallestSize));
    const std::vector<Word> words = wordsOf(lines, metrics);
    double size = largestFit(words, metrics.height(), box, smallestSize, largestSize);
    layOut(lines, size, QTextOption::WordWrap);
    // Fonts that stand in for a missing glyph may be taller, and words that were measured one by
    // one may be a little wider together.
    while (!fits(size) && size > smallestSize) {
        const double taller = largestFit(words, m_lineHeight, box, smallestSize, largestSize);
        size = std::max(smallestSize, taller < size ? taller : size * 0.97);
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
    painter.translate(position + QPointF(0, top()));
    painter.scale(m_scale, m_scale);
    // Up to here Qt keeps pictures of the letters.
    constexpr double largestKept = 64;
    if (std::sqrt(std::abs(painter.deviceTransform().determinant())) * layoutSize < largestKept) {
        m_layout->draw(&painter, QPointF());
    } else {
        for (const QGlyphRun& run : m_layout->glyphRuns())
            fillGlyphs(painter, run);
    }
    painter.restore();
}

double MessageLayout::fontSize() const
{
    return m_scale * layoutSize;
}

QRectF MessageLayout::textRect() const
{
    const QSizeF size(m_width * m_scale, m_height * m_scale);
    return {QPointF((m_box.width() - size.width()) / 2, top()), size};
}

QRectF MessageLayout::inkRect() const
{
    QRectF ink;
    for (QGlyphRun run : m_layout->glyphRuns()) {
        // What it knows is the room of its line; without that it asks its glyphs.
        run.setBoundingRect({});
        ink |= run.boundingRect();
    }
    // They tell their bounds in whole pixels of the size they are laid out at, not always the next
    // larger ones.
    ink.adjust(-2, -2, 2, 2);
    return {ink.topLeft() * m_scale + QPointF(0, top()), ink.size() * m_scale};
}

/// Where the first line begins in the box.
double MessageLayout::top() const
{
    return (m_box.height() - m_height * m_scale) / 2;
}

void MessageLayout::layOut(const QString& text, double fontSize, QTextOption::WrapMode wrapMode)
{
    m_scale = fontSize / layoutSize;
    m_width = 0;
    m_height = 0;
    m_lineHeight = 0;
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
        m_lineHeight = std::max(m_lineHeight, line.height());
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
