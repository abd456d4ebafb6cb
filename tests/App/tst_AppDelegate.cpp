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

/// JSON with single quotes for double ones.
QByteArray json(const char* text)
{
    return QByteArray(text).replace('\'', '"');
}

} // namespace

/// The launch within one process, with services that the test sees from both sides.
class AppDelegateTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QCoreApplication::addLibraryPath(QStringLiteral(TARROW_MODULES)); }
    void tellsTheState();
    void tellsTheRunningOrder();
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

void AppDelegateTest::tellsTheState()
{
    MemoryPreferences preferences;
    AppDelegate app(preferences);
    QCOMPARE(app.makeStateJSON(),
        json("{'time':'00:00','threshold':'normal','phase':'idle','message':'',"
             "'blackout':false,'strobe':false,'strobeCount':0,'loop':false,"
             "'textColor':'#FFFFFF','bgColor':'#000000'}"));

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

void AppDelegateTest::tellsTheRunningOrder()
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

/// What tells that a step has been taken, in the order of the steps.
std::vector<AppDelegateTest::Sign> AppDelegateTest::signsOf(Stage& stage)
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

void AppDelegateTest::makesEveryServiceInItsTurn()
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

void AppDelegateTest::followsTheSwitchesThroughTheEventLoop()
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

    // The port of the launch holds.
    stage.delegate->settings.webPort = 1;
    stage.delegate->settings.webRemoteEnabled = true;
    QTRY_VERIFY(stage.webServerRuns());
    QVERIFY(stage.delegate->m_webServer->boundPort() > 1);
}

void AppDelegateTest::showsTheTimeAsItsIcon()
{
    Stage stage;
    QApplication::setWindowIcon({});
    stage.delegate->applicationDidFinishLaunching();
    TimerEngine& engine = stage.delegate->engine();
    const QImage idle = IconRenderer::image(u"00:00"_s, 512);
    QTRY_COMPARE(shownIcon(), idle);

    engine.setSeconds = 300;
    engine.start(TimerEngine::RunOrigin::operatorRequest);
    QCOMPARE(shownIcon(), idle);
    QCoreApplication::processEvents();
    QCOMPARE(shownIcon(), IconRenderer::image(engine.snapshot.value().timeText, 512));

    // Drawn for a new text alone.
    engine.stop();
    QTRY_COMPARE(shownIcon(), idle);
    const qint64 drawn = QApplication::windowIcon().cacheKey();
    engine.setMessage(u"Doors"_s);
    QCoreApplication::processEvents();
    QCOMPARE(QApplication::windowIcon().cacheKey(), drawn);
}

QTEST_MAIN(AppDelegateTest)
#include "tst_AppDelegate.moc"
