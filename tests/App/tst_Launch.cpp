#include "App/AppDelegate.h"

#include "Windows/IconRenderer.h"
#include "helpers/MemoryPreferences.h"
#include "helpers/SessionBus.h"

#include <QApplication>
#include <QTcpServer>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QImage shownIcon()
{
    return QApplication::windowIcon()
        .pixmap(QSize(512, 512))
        .toImage()
        .convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

} // namespace

/// The launch within one process, with services that the test sees from both sides.
class LaunchTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void makesEveryServiceInItsTurn();
    void followsTheSwitchesThroughTheEventLoop();
    void showsTheTimeAsItsIcon();

private:
    struct Stage {
        SessionBus bus {SessionBus::Services::screenSaver};
        QTcpServer feed;
        MemoryPreferences preferences;
        std::unique_ptr<AppDelegate> delegate;

        explicit Stage(const std::function<void(AppSettings&)>& prepare = [](AppSettings&) {})
        {
            qputenv("DBUS_SESSION_BUS_ADDRESS", bus.address());
            if (!feed.listen(QHostAddress::LocalHost))
                qFatal("cannot listen");
            AppSettings settings(preferences);
            settings.udpPort = 0;
            settings.webPort = 0;
            prepare(settings);
            delegate = std::make_unique<AppDelegate>(preferences,
                QJsonObject {
                    {u"TRUpdateFeedURL"_s, u"http://127.0.0.1:%1/"_s.arg(feed.serverPort())}});
        }

        [[nodiscard]] bool webServerRuns() const { return delegate->m_webServer->isRunning(); }
    };

    struct Sign {
        const char* name;
        std::function<bool()> isThere;
    };
    static std::vector<Sign> signsOf(Stage& stage);
};

/// What tells that a step has been taken, in the order of the steps.
std::vector<LaunchTest::Sign> LaunchTest::signsOf(Stage& stage)
{
    AppDelegate& app = *stage.delegate;
    return {
        {"main menu", [&] { return app.m_mainMenu != nullptr; }},
        {"output router",
            [&] { return app.m_outputRouter.has_value() && app.m_engine.has_value(); }},
        {"finish sound", [&] { return app.m_engine && app.m_engine->onFinish; }},
        {"dispatcher", [&] { return app.m_dispatcher.has_value() && app.m_cues.has_value(); }},
        {"UDP server", [&] { return app.m_udpServer && app.m_udpServer->isListening(); }},
        {"web server", [&] { return app.m_webServer.has_value(); }},
        {"web switch", [&] { return app.m_webSwitch.has_value(); }},
        {"NDI sender", [&] { return app.m_ndiSender.has_value(); }},
        {"NDI switch", [&] { return app.m_ndiSwitch.has_value(); }},
        {"console", [&] { return app.m_streamDeck && app.m_controlWindow->window().isVisible(); }},
        {"icon", [&] { return app.m_dockBadge.has_value(); }},
        {"display-sleep assertion", [&] { return !stage.bus.screenSaver().inhibitors.isEmpty(); }},
        {"activation",
            [&] { return app.m_controlWindow && app.m_controlWindow->window().isActiveWindow(); }},
        {"update check", [&] { return stage.feed.hasPendingConnections(); }},
    };
}

void LaunchTest::makesEveryServiceInItsTurn()
{
    Stage stage;
    QCOMPARE(AppDelegate::launchSequence.size(), 14U);
    // As if another application had the focus, whatever a step does.
    QWidget other;
    other.show();

    const std::vector<Sign> signs = signsOf(stage);
    for (size_t taken = 0; taken < signs.size(); ++taken) {
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        const AppDelegate::LaunchStep& step = AppDelegate::launchSequence[taken];
        QCOMPARE(step.name, signs[taken].name);
        for (size_t i = taken; i < signs.size(); ++i)
            QVERIFY2(!signs[i].isThere(), signs[i].name);
        (stage.delegate.get()->*step.perform)();
        QTRY_VERIFY2(signs[taken].isThere(), step.name);
    }
    QTRY_COMPARE(stage.delegate->sleepAssertionID(), FakeScreenSaver::cookie);
    stage.delegate->applicationWillTerminate();
    QTRY_COMPARE(stage.bus.screenSaver().released, QList<uint> {FakeScreenSaver::cookie});
}

void LaunchTest::followsTheSwitchesThroughTheEventLoop()
{
    Stage stage([](AppSettings& settings) { settings.webRemoteEnabled = true; });
    stage.delegate->applicationDidFinishLaunching();
    QVERIFY(!stage.webServerRuns());
    QCoreApplication::processEvents();
    QVERIFY(stage.webServerRuns());
    stage.delegate->settings.webRemoteEnabled = false;
    QVERIFY(stage.webServerRuns());
    QCoreApplication::processEvents();
    QVERIFY(!stage.webServerRuns());
}

void LaunchTest::showsTheTimeAsItsIcon()
{
    Stage stage;
    stage.delegate->applicationDidFinishLaunching();
    TimerEngine& engine = stage.delegate->engine();
    QTRY_COMPARE(shownIcon(), IconRenderer::image(u"00:00"_s, 512));

    engine.setSeconds = 300;
    engine.start(TimerEngine::RunOrigin::operatorRequest);
    QCOMPARE(shownIcon(), IconRenderer::image(u"00:00"_s, 512));
    QCoreApplication::processEvents();
    const QString text = engine.snapshot.value().timeText;
    QCOMPARE(shownIcon(), IconRenderer::image(text, 512));

    // Drawn for a new text alone.
    engine.stop();
    QTRY_COMPARE(shownIcon(), IconRenderer::image(u"00:00"_s, 512));
    const qint64 drawn = QApplication::windowIcon().cacheKey();
    engine.setMessage(u"Doors"_s);
    QCoreApplication::processEvents();
    QCOMPARE(QApplication::windowIcon().cacheKey(), drawn);
}

QTEST_MAIN(LaunchTest)
#include "tst_Launch.moc"
