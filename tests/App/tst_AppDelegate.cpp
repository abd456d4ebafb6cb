#include "App/AppDelegate.h"

#include "helpers/Console.h"
#include "helpers/Hand.h"
#include "helpers/SessionBus.h"

#include <QTcpServer>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// JSON with single quotes for double ones.
QByteArray json(const char* text)
{
    return QByteArray(text).replace('\'', '"');
}

} // namespace

class AppDelegateTest : public QObject {
    Q_OBJECT

    /// What tells that each step of the launch has been taken.
    static std::vector<std::function<bool()>> signsOf(
        AppDelegate& app, const FakeScreenSaver& screenSaver, const QTcpServer& feed)
    {
        return {
            [&] { return app.m_mainMenu != nullptr; },
            [&] { return app.m_outputRouter && app.m_engine; },
            [&] { return app.m_engine && app.m_engine->onFinish; },
            [&] { return app.m_dispatcher && app.m_cues; },
            [&] { return app.m_udpServer && app.m_udpServer->isListening(); },
            [&] { return app.m_webServer.has_value(); },
            [&] { return app.m_webCancellable.has_value(); },
            [&] { return app.m_ndiSender.has_value(); },
            [&] { return app.m_ndiCancellable.has_value(); },
            [&] { return app.m_streamDeck && consoleOf(app).isVisible(); },
            [&] { return app.m_dockCancellable.has_value(); },
            [&] { return !screenSaver.inhibitors.isEmpty(); },
            [&] { return app.m_controlWindowController && consoleOf(app).isActiveWindow(); },
            [&] { return feed.hasPendingConnections(); },
        };
    }
    static QWidget& consoleOf(AppDelegate& app) { return app.m_controlWindowController->window(); }

private Q_SLOTS:
    void initTestCase() { QCoreApplication::addLibraryPath(QStringLiteral(TARROW_MODULES)); }

    void makesEveryServiceInItsTurn()
    {
        SessionBus bus(SessionBus::Services::screenSaver);
        qputenv("DBUS_SESSION_BUS_ADDRESS", bus.address());
        QTcpServer feed;
        QVERIFY(feed.listen(QHostAddress::LocalHost));
        MemoryPreferences preferences;
        AppDelegate app(preferences,
            {{u"TRUpdateFeedURL"_s, u"http://127.0.0.1:%1/"_s.arg(feed.serverPort())}});
        app.settings.udpPort = 0;
        // As if another application had the focus, whatever a step does.
        QWidget other;
        const std::vector<std::function<bool()>> signs = signsOf(app, bus.screenSaver(), feed);
        QCOMPARE(AppDelegate::launchSequence.size(), signs.size());
        for (size_t taken = 0; taken < signs.size(); ++taken) {
            activate(other);
            const AppDelegate::LaunchStep& step = AppDelegate::launchSequence[taken];
            for (size_t i = taken; i < signs.size(); ++i)
                QVERIFY2(!signs[i](), AppDelegate::launchSequence[i].name);
            (app.*step.perform)();
            QTRY_VERIFY2(signs[taken](), step.name);
        }
        QTRY_COMPARE(app.sleepAssertionID(), FakeScreenSaver::cookie);
        app.applicationWillTerminate();
        QTRY_COMPARE(bus.screenSaver().released, QList<uint> {FakeScreenSaver::cookie});
    }

    void tellsTheState()
    {
        MemoryPreferences preferences;
        AppDelegate app(preferences);
        app.settings.redColor = RGBColor {.r = 1, .g = 0.69, .b = 0.5, .a = 0.1};
        app.settings.backgroundColor = RGBColor {.r = 0.0019, .g = 0.002, .b = 0.6};
        app.engine().setSeconds = 60;
        app.engine().start(TimerEngine::RunOrigin::operatorRequest);
        app.engine().loop = true;
        app.engine().toggleBlackout();
        app.engine().setMessage(u"\"é\\\n\u0001🎭"_s);
        app.engine().strobe();
        app.engine().togglePause();
        QCOMPARE(app.makeStateJSON(),
            json("{'time':'01:00','threshold':'red','phase':'paused',"
                 "'message':'\\'é\\\\\\u000a\\u0001🎭','blackout':true,'strobe':true,"
                 "'strobeCount':1,'loop':true,'textColor':'#FFB080','bgColor':'#000199'}"));

        app.settings.useThresholdColors = false;
        QVERIFY(app.makeStateJSON().contains("\"textColor\":\"#FFFFFF\""));
    }

    void tellsTheRunningOrder()
    {
        MemoryPreferences preferences;
        AppDelegate app(preferences);
        QCOMPARE(app.makeCuesJSON(), "[]");
        app.cues().cues = {{QUuid::createUuid(), u"A \"b\""_s, 90},
            {QUuid::createUuid(), u"<b>é"_s, 7200}, {QUuid::createUuid(), u""_s, -61}};
        app.cues().select(1);
        QCOMPARE(app.makeCuesJSON(),
            json("[{'index':1,'title':'A \\'b\\'','duration':'01:30','current':false},"
                 "{'index':2,'title':'<b>é','duration':'120:00','current':true},"
                 "{'index':3,'title':'','duration':'01:01','current':false}]"));
    }

    void followsTheSwitchesThroughTheEventLoop()
    {
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
        MemoryPreferences preferences;
        AppDelegate app(preferences, QJsonObject());
        app.settings.udpPort = 0;
        app.settings.webPort = 0;
        app.settings.webRemoteEnabled = true;
        app.applicationDidFinishLaunching();
        const auto webServerRuns = [&app] { return app.m_webServer->isRunning(); };
        QVERIFY(!webServerRuns());
        QCoreApplication::processEvents();
        QVERIFY(webServerRuns());
        app.settings.webRemoteEnabled = false;
        QVERIFY(webServerRuns());
        QCoreApplication::processEvents();
        QVERIFY(!webServerRuns());

        // The port of the launch holds.
        app.settings.webPort = 1;
        app.settings.webRemoteEnabled = true;
        QTRY_VERIFY(webServerRuns());
        QVERIFY(app.m_webServer->boundPort() > 1);
    }
};

QTEST_MAIN(AppDelegateTest)
#include "tst_AppDelegate.moc"
