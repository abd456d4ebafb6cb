#include "Views/ConsolePreview.h"

#include "Views/Components/ConsoleStyle.h"

#include <QPaintEvent>
#include <QPainterPath>

#include <algorithm>

namespace {

constexpr double radius = 8;

double aspect(qint64 width, qint64 height)
{
    return static_cast<double>(width) / static_cast<double>(height);
}

} // namespace

double outputAspect(const QList<ScreenInfo>& screens, const AppSettings& settings)
{
    const std::set<quint32> enabled = settings.enabledScreenIDs;
    const auto used = std::ranges::find_if(
        screens, [&](const ScreenInfo& screen) { return enabled.contains(screen.id); });
    if (used != screens.end() && used->height >= 1)
        return aspect(used->width, used->height);
    if (settings.ndiEnabled && settings.ndiHeight >= 1)
        return aspect(settings.ndiWidth, settings.ndiHeight);
    if (!screens.isEmpty() && screens.front().height >= 1)
        return aspect(screens.front().width, screens.front().height);
    return 16.0 / 9;
}

void ConsolePreview::paintEvent(QPaintEvent* event)
{
    OutputView::paintEvent(event);
    QPainter painter(this);
    painter.setClipRegion(event->region());
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath corners;
    corners.addRect(rect());
    corners.addRoundedRect(rect(), radius, radius);
    painter.fillPath(corners, palette().color(QPalette::Window));
    drawRoundedBox(
        painter, rect(), radius, Qt::transparent, withOpacity(secondaryColor(palette()), 0.35));
}
