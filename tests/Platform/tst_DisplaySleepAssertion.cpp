#include "Platform/DisplaySleepAssertion.h"

#include "helpers/CapturedLog.h"
#include "helpers/SessionBus.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <QTest>

using namespace Qt::StringLiterals;

class DisplaySleepAssertionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_logLines.clear();
        m_taken.clear();
        m_assertion = std::make_unique<DisplaySleepAssertion>();
        m_log.emplace([this](const QString& line) { m_logLines.append(line); });
    }

    void cleanup()
    {
        m_assertion.reset();
        m_log.reset();
    }

    void costsOneLineWithoutAService_data()
    {
        QTest::addColumn<bool>("hasBus");
        QTest::addColumn<bool>("hasService");

        QTest::newRow("no bus") << false << false;
        QTest::newRow("no service") << true << false;
        QTest::newRow("the service refuses") << true << true;
    }
    void costsOneLineWithoutAService()
    {
        QFETCH(bool, hasBus);
        QFETCH(bool, hasService);

        SessionBus bus(hasService ? SessionBus::Services::screenSaver : SessionBus::Services::none);
        bus.screenSaver().refuses = true;
        qputenv("DBUS_SESSION_BUS_ADDRESS", hasBus ? bus.address() : "unix:path=/nonexistent/bus");

        take();
        QTRY_COMPARE(m_logLines.size(), 1);
        QVERIFY2(m_logLines.first().startsWith(u"Displays are not kept awake: "),
            qPrintable(m_logLines.first()));
        m_assertion->release(1);
        QCoreApplication::processEvents();
        QCOMPARE(m_logLines.size(), 1);
        QCOMPARE(m_taken, QList<quint32>());
    }

    void doesNotWaitForASilentBus()
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

private:
    void take()
    {
        m_assertion->take(
            "a test runs", [this](quint32 identifier) { m_taken.append(identifier); });
    }

    std::unique_ptr<DisplaySleepAssertion> m_assertion;
    QList<quint32> m_taken;
    QStringList m_logLines;
    std::optional<CapturedLog> m_log;
};

QTEST_GUILESS_MAIN(DisplaySleepAssertionTest)
#include "tst_DisplaySleepAssertion.moc"
