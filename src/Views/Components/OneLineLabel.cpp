#include "Views/Components/OneLineLabel.h"

#include <QPainter>

namespace {

/// More than any line shows. Laying out a text as long as a file would hold up the show.
constexpr qsizetype mostCharacters = 300;

QString shownText(const QLabel& label)
{
    return label.text().left(mostCharacters).simplified();
}

} // namespace

OneLineLabel::OneLineLabel(const QString& text, QWidget* parent)
    : QLabel(text, parent)
{
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize OneLineLabel::sizeHint() const
{
    return {fontMetrics().horizontalAdvance(shownText(*this)), fontMetrics().height()};
}

QSize OneLineLabel::minimumSizeHint() const
{
    return {0, fontMetrics().height()};
}

void OneLineLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    const QString line =
        fontMetrics().elidedText(shownText(*this), Qt::ElideRight, contentsRect().width());
    painter.drawText(contentsRect(), static_cast<int>(alignment()) | Qt::TextSingleLine, line);
}
