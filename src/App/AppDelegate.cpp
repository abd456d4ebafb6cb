#include "App/AppDelegate.h"

#include "Support/ControlLog.h"
#include "Windows/ConnectedDisplays.h"
#include "Windows/IconRenderer.h"
#include "Windows/OutputWindow.h"

#include <QApplication>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

quint16 clampedPort(qint64 port)
{
    return static_cast<quint16>(std::clamp<qint64>(port, 0, std::numeric_limits<quint16>::max()));
}

constexpr double dockIconSize = 512;

} // namespace

const std::vector<AppDelegate::LaunchStep> AppDelegate::launchSequence {
    {"main menu", &AppDelegate::installMainMenu},
    {"output router", &AppDelegate::createOutputRouter},
    {"finish sound", &AppDelegate::installFinishSound},
    {"dispatcher", &AppDelegate::startDispatcher},
    {"UDP server", &AppDelegate::startUDPServer},
    {"web server", &AppDelegate::createWebServer},
    {"web switch", &AppDelegate::followWebSwitch},
    {"NDI sender", &AppDelegate::createNDISender},
    {"NDI switch", &AppDelegate::followNDISwitch},
    {"console", &AppDelegate::createControlWindow},
    {"icon", &AppDelegate::startDockBadge},
    {"display-sleep assertion", &AppDelegate::takeSleepAssertion},
    {"activation", &AppDelegate::activateApplication},
    {"update check", &AppDelegate::checkForUpdatesInBackground},
};

AppDelegate::AppDelegate(Preferences& preferences, QJsonObject information)
    : settings(preferences)
    , m_preferences(preferences)
    , m_information(std::move(information))
    , m_help(preferences)
{
}

TimerEngine& AppDelegate::engine()
{
    if (!m_engine)
        m_engine.emplace(settings);
    return *m_engine;
}

CueController& AppDelegate::cues()
{
    if (!m_cues)
        m_cues.emplace(engine(), settings, m_preferences);
    return *m_cues;
}

StreamDeckManager& AppDelegate::streamDeck()
{
    if (!m_streamDeck) {
        m_streamDeck.emplace(
            engine(), cues(), settings, m_preferences, std::make_unique<StreamDeckHID>());
    }
    return *m_streamDeck;
}

UpdateChecker& AppDelegate::updateChecker()
{
    if (!m_updateChecker)
        m_updateChecker.emplace(m_information, m_preferences);
    return *m_updateChecker;
}

void AppDelegate::applicationDidFinishLaunching()
{
    for (const LaunchStep& step : launchSequence)
        (this->*step.perform)();
}

void AppDelegate::applicationWillTerminate()
{
    if (m_streamDeck)
        m_streamDeck->blankToBlack();
    if (m_sleepAssertionID != 0)
        m_sleepAssertion.release(m_sleepAssertionID);
    m_sleepAssertionID = 0;
}

bool AppDelegate::finish()
{
    const bool isSilent = m_soundPlayer.finish();
    return isSilent && (!m_updateChecker || m_updateChecker->isIdle());
}

void AppDelegate::installMainMenu()
{
    m_mainMenu = std::make_unique<MainMenu>(MainMenu::Targets {
        .checkForUpdates = [this] { updateChecker().checkForUpdatesMenu(); },
        .openHelp = [this] { m_help.openHelp(); },
    });
}

void AppDelegate::createOutputRouter()
{
    m_messageAnimator.emplace(engine());
    m_outputRouter.emplace(
        settings, std::make_unique<ConnectedDisplays>(), [this](const ConnectedDisplay& display) {
            return std::make_unique<OutputWindow>(
                display, std::make_unique<OutputView>(engine(), settings, *m_messageAnimator));
        });
    m_outputRouter->enableConnectedExternalDisplays();
}

void AppDelegate::installFinishSound()
{
    engine().onFinish = [this] {
        if (settings.playFinishSound)
            m_soundPlayer.play(u"finalBuzzer"_s, u"wav"_s);
    };
}

void AppDelegate::startDispatcher()
{
    m_dispatcher.emplace(engine());
    m_dispatcher->cues = &cues();
}

void AppDelegate::startUDPServer()
{
    const quint16 port = clampedPort(settings.udpPort);
    m_udpServer.emplace(port, [this](const Command& command) { m_dispatcher->dispatch(command); });
    m_udpServer->start();
    if (QGuiApplication::platformName() == u"offscreen") {
        qCInfo(controlLog, "No display: running on Qt's offscreen platform, UDP port %d%s",
            m_udpServer->isListening() ? m_udpServer->boundPort() : port,
            m_udpServer->isListening() ? "" : ", which cannot be listened on");
    }
}

void AppDelegate::createWebServer()
{
    m_webServer.emplace(clampedPort(settings.webPort));
    m_webServer->stateJSON = [this] { return makeStateJSON(); };
    m_webServer->cuesJSON = [this] { return makeCuesJSON(); };
    m_webServer->onCommand = [this](const QString& text) {
        if (const std::optional<Command> command = Command::parse(text))
            m_dispatcher->dispatch(*command);
    };
}

void AppDelegate::followWebSwitch()
{
    m_webCancellable.emplace(settings.webRemoteEnabled, [this](bool enabled) {
        if (enabled)
            m_webServer->start();
        else
            m_webServer->stop();
    });
}

void AppDelegate::createNDISender()
{
    m_ndiSender.emplace(engine(), settings, *m_messageAnimator);
}

void AppDelegate::followNDISwitch()
{
    m_ndiCancellable.emplace(settings.ndiEnabled, [this](bool enabled) {
        if (enabled)
            m_ndiSender->start();
        else
            m_ndiSender->stop();
    });
}

void AppDelegate::createControlWindow()
{
    m_controlWindowController.emplace(ControlPanelView::Models {
        .engine = engine(),
        .settings = settings,
        .cues = cues(),
        .router = *m_outputRouter,
        .streamDeck = streamDeck(),
        .messageAnimator = *m_messageAnimator,
    });
    m_controlWindowController->setMenuBar(*m_mainMenu);
    m_controlWindowController->showWindow();
}

void AppDelegate::startDockBadge()
{
    m_timeText.setBinding([this] { return engine().snapshot.value().timeText; });
    m_dockCancellable.emplace(m_timeText, [this](const QString& text) {
        m_controlWindowController->afterShowing(
            [text] { QApplication::setWindowIcon(IconRenderer::icon(text, dockIconSize)); });
    });
}

void AppDelegate::takeSleepAssertion()
{
    m_sleepAssertion.take("Tarrow stage timer is running",
        [this](quint32 identifier) { m_sleepAssertionID = identifier; });
}

void AppDelegate::activateApplication()
{
    m_controlWindowController->window().activateWindow();
}

void AppDelegate::checkForUpdatesInBackground()
{
    m_controlWindowController->afterShowing(
        [this] { updateChecker().checkInBackground(settings.autoCheckUpdates); });
}
