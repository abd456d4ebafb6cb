#include "Model/OutputRouter.h"

#include <algorithm>

OutputRouter::OutputRouter(
    AppSettings& settings, std::unique_ptr<DisplayList> displays, SurfaceFactory openSurface)
    : m_settings(settings)
    , m_displays(std::move(displays))
    , m_openSurface(std::move(openSurface))
{
    m_displays->onChange = [this] { screensChanged(); };
    m_choice.emplace(settings.enabledScreenIDs, [this](const auto&) { rebuild(); });
    rebuild();
}

QList<ScreenInfo> OutputRouter::availableScreens() const
{
    QList<ScreenInfo> screens;
    for (const ConnectedDisplay& display : m_displays->displays())
        screens.append(display.info);
    return screens;
}

void OutputRouter::enableConnectedExternalDisplays()
{
    const QList<ScreenInfo> screens = availableScreens();
    const auto external = std::ranges::find(screens, false, &ScreenInfo::isMain);
    if (external == screens.end())
        return;
    std::set<quint32> enabled = m_settings.enabledScreenIDs;
    enabled.insert(external->id);
    m_settings.enabledScreenIDs = enabled;
}

void OutputRouter::rebuild()
{
    const std::set<quint32> enabled = m_settings.enabledScreenIDs;
    std::map<quint32, ConnectedDisplay> wanted;
    for (const ConnectedDisplay& display : m_displays->displays()) {
        if (enabled.contains(display.info.id))
            wanted.insert_or_assign(display.info.id, display);
    }
    std::erase_if(m_surfaces, [&](const auto& entry) { return !wanted.contains(entry.first); });
    for (const auto& [id, display] : wanted) {
        if (const auto surface = m_surfaces.find(id); surface != m_surfaces.end())
            surface->second->cover(display);
        else
            m_surfaces.emplace(id, m_openSurface(display));
    }
}

void OutputRouter::screensChanged()
{
    rebuild();
    if (onScreensChange)
        onScreensChange();
}
