#pragma once

#include "App/MainMenu.h"
#include "Audio/SoundPlayer.h"
#include "Help/HelpWindowController.h"
#include "Model/AppSettings.h"
#include "Model/CueList.h"
#include "Model/OutputRouter.h"
#include "Model/TimerEngine.h"
#include "NDI/NDISender.h"
#include "Net/CommandDispatcher.h"
#include "Net/UDPServer.h"
#include "Net/WebRemoteServer.h"
#include "Platform/DisplaySleepAssertion.h"
#include "StreamDeck/StreamDeckManager.h"
#include "Support/EventLoopSubscription.h"
#include "Support/InformationDictionary.h"
#include "Support/Preferences.h"
#include "Update/UpdateChecker.h"
#include "Views/MessageTransition.h"
#include "Windows/ControlWindowController.h"

#include <memory>
#include <optional>
#include <vector>

/// Owns every long-lived object of the program, starts them in their order and joins them. It
/// decides nothing about the show itself.
class AppDelegate {
public:
    /// One service of the launch.
    struct LaunchStep {
        const char* name;
        void (AppDelegate::*perform)();
    };

    /// In their order: later steps use what earlier ones made.
    static const std::vector<LaunchStep> launchSequence;

    /// `preferences` must outlive the delegate. The settings are loaded here; all else waits for
    /// the launch.
    explicit AppDelegate(
        Preferences& preferences, QJsonObject information = informationDictionary());
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;
    ~AppDelegate() = default;

    AppSettings settings;

    /// Made at their first use.
    [[nodiscard]] TimerEngine& engine();
    [[nodiscard]] CueController& cues();
    StreamDeckManager& streamDeck();

    /// The launch, once, with the event loop about to run.
    void applicationDidFinishLaunching();
    /// The shutdown, whatever asked the program to quit.
    void applicationWillTerminate();
    /// After the event loop: false when a sound server or a name server hangs and the process must
    /// not wait for anything any more (see SoundPlayer::finish and UpdateChecker::isIdle).
    [[nodiscard]] bool finish();

    /// What the web remote tells of the timer, and of the running order: compact JSON documents,
    /// made from what holds now. A colour's component that does not fit into 64 bits when it is
    /// taken 255 times stops the process (see trap()).
    [[nodiscard]] QByteArray makeStateJSON();
    [[nodiscard]] QByteArray makeCuesJSON();

    [[nodiscard]] const std::optional<UDPServer>& udpServer() const { return m_udpServer; }
    /// 0 while the displays may sleep.
    [[nodiscard]] quint32 sleepAssertionID() const { return m_sleepAssertionID; }

private:
    /// Sees what each step has made.
    friend class AppDelegateTest;

    void installMainMenu();
    void createOutputRouter();
    void installFinishSound();
    void startDispatcher();
    void startUDPServer();
    void createWebServer();
    void followWebSwitch();
    void createNDISender();
    void followNDISwitch();
    void createControlWindow();
    void startDockBadge();
    void takeSleepAssertion();
    void activateApplication();
    void checkForUpdatesInBackground();
    [[nodiscard]] UpdateChecker& updateChecker();

    // In the order of creation, so that each goes before what it points back at.
    Preferences& m_preferences;
    QJsonObject m_information;
    std::optional<UpdateChecker> m_updateChecker;
    HelpWindowController m_help;
    std::unique_ptr<MainMenu> m_mainMenu;
    std::optional<TimerEngine> m_engine;
    std::optional<MessageAnimator> m_messageAnimator;
    std::optional<OutputRouter> m_outputRouter;
    std::optional<CueController> m_cues;
    std::optional<CommandDispatcher> m_dispatcher;
    std::optional<UDPServer> m_udpServer;
    std::optional<WebRemoteServer> m_webServer;
    std::optional<EventLoopSubscription<bool>> m_webCancellable;
    std::optional<NDISender> m_ndiSender;
    std::optional<EventLoopSubscription<bool>> m_ndiCancellable;
    std::optional<StreamDeckManager> m_streamDeck;
    std::optional<ControlWindowController> m_controlWindowController;
    /// What the icon shows.
    QProperty<QString> m_timeText;
    std::optional<EventLoopSubscription<QString>> m_dockCancellable;
    SoundPlayer m_soundPlayer;
    DisplaySleepAssertion m_sleepAssertion;
    quint32 m_sleepAssertionID = 0;
};
