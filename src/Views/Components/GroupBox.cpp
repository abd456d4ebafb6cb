#include "Views/Components/GroupBox.h"

#include "Support/Fonts.h"
#include "Views/Components/ConsoleStyle.h"

#include <QLabel>
#include <QPainter>

namespace {

constexpr int padding = 10;
constexpr double radius = 8;

} // namespace

GroupBox::GroupBox(const QString& title, QWidget* parent)
    : QWidget(parent)
    , m_column(new QVBoxLayout)
{
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->setSpacing(5);
    if (!title.isEmpty()) {
        auto* heading = new QLabel(title, this);
        heading->setFont(Fonts::system(12, QFont::DemiBold));
        heading->setForegroundRole(QPalette::PlaceholderText);
        heading->setContentsMargins(2, 0, 0, 0);
        outer->addWidget(heading);
        setAccessibleName(title);
    }
    m_column->setContentsMargins(padding, padding, padding, padding);
    m_column->setSpacing(8);
    // A row that comes or goes does not move those above it, not even until the box has its new
    // height: they may be about to be clicked.
    outer->addLayout(m_column, 1);
    outer->setAlignment(m_column, Qt::AlignTop);
}

void GroupBox::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    drawRoundedBox(painter, m_column->geometry(), radius, groupColor(palette()),
        withOpacity(secondaryColor(palette()), 0.25));
}
