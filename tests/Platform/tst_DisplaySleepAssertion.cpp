#include "Platform/DisplaySleepAssertion.h"

#include "helpers/SessionBus.h"

#include <QEventLoop>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QStringList logLines;

void keepLine(QtMsgType, const QMessageLogContext&, const QString& message)
{
    logLines.append(message);
}

} // namespace

class DisplaySleepAssertionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void isTakenAndGivenBack();
    void costsOneLineWithoutAService_data();
    void costsOneLineWithoutAService();
    void doesNotWaitForASilentBus();
    void outlivesItsBus();

private:
    void take();

    std::unique_ptr<DisplaySleepAssertion> m_assertion;
    QList<quint32> m_taken;
    QtMessageHandler m_originalHandler = nullptr;
};

void DisplaySleepAssertionTest::init()
{
    logLines.clear();
    m_taken.clear();
    m_assertion = std::make_unique<DisplaySleepAssertion>();
    m_originalHandler = qInstallMessageHandler(keepLine);
}

void DisplaySleepAssertionTest::cleanup()
{
    m_assertion.reset();
    qInstallMessageHandler(m_originalHandler);
}

void DisplaySleepAssertionTest::take()
{
    m_assertion->take("a test runs", [this](quint32 identifier) { m_taken.append(identifier); });
}

void DisplaySleepAssertionTest::isTakenAndGivenBack()
{
    SessionBus bus(SessionBus::Services::screenSaver);
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus.address());

    take();
    QTRY_COMPARE(m_taken, QList<quint32> {FakeScreenSaver::cookie});
    QCOMPARE(bus.screenSaver().inhibitors, QStringList {u"Tarrow: a test runs"_s});
    QCOMPARE(bus.screenSaver().released, QList<uint>());

    // No turn of the event loop is left to the process that quits.
    m_assertion->release(FakeScreenSaver::cookie);
    m_assertion.reset();
    QTRY_COMPARE(bus.screenSaver().released, QList<uint> {FakeScreenSaver::cookie});
    QCOMPARE(logLines, QStringList());
}

void DisplaySleepAssertionTest::costsOneLineWithoutAService_data()
{
    QTest::addColumn<bool>("hasBus");
    QTest::addColumn<bool>("hasService");

    QTest::newRow("no bus") << false << false;
    QTest::newRow("no service") << true << false;
    QTest::newRow("the service refuses") << true << true;
}

void DisplaySleepAssertionTest::costsOneLineWithoutAService()
{
    QFETCH(bool, hasBus);
    QFETCH(bool, hasService);

    SessionBus bus(hasService ? SessionBus::Services::screenSaver : SessionBus::Services::none);
    bus.screenSaver().refuses = true;
    qputenv("DBUS_SESSION_BUS_ADDRESS", hasBus ? bus.address() : "unix:path=/nonexistent/bus");

    take();
    QTRY_COMPARE(logLines.size(), 1);
    QVERIFY2(logLines.first().startsWith(u"Displays are not kept awake: "),
        qPrintable(logLines.first()));
    m_assertion->release(1);
    QCoreApplication::processEvents();
    QCOMPARE(logLines.size(), 1);
    QCOMPARE(m_taken, QList<quint32>());
}

void DisplaySleepAssertionTest::doesNotWaitForASilentBus()
{
    const QTemporaryDir folder;
    QLocalServer silent;
    QVERIFY(silent.listen(folder.filePath(u"bus"_s)));
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + silent.fullServerName().toUtf8());

    take();
    // The assertion is waiting for an answer, and the loop turns.
    QTRY_VERIFY(silent.hasPendingConnections());
    QLocalSocket* peer = silent.nextPendingConnection();
    QTRY_COMPARE_GT(peer->bytesAvailable(), 0);
    m_assertion->release(1);
    m_assertion.reset();
    QCOMPARE(m_taken, QList<quint32>());
}

void DisplaySleepAssertionTest::outlivesItsBus()
{
    SessionBus bus(SessionBus::Services::screenSaver);
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus.address());
    take();
    QTRY_COMPARE(m_taken.size(), 1);

    bus.kill();
    // A loop that kept waking for the dead descriptor would never come to rest.
    QTRY_VERIFY(!QEventLoop().processEvents(QEventLoop::AllEvents));
    m_assertion->release(FakeScreenSaver::cookie);
    QCOMPARE_LE(logLines.size(), 1);
}

QTEST_GUILESS_MAIN(DisplaySleepAssertionTest)
#include "tst_DisplaySleepAssertion.moc"
