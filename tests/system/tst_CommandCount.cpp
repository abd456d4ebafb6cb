#include "helpers/HTTPPeer.h"
#include "helpers/RunningProgram.h"

#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QTest>
#include <QUdpSocket>

#include <array>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr int commandCount = 100'000;
constexpr int desks = 6;
constexpr int browsers = 8;
/// What each desk sends while the browsers wait for their answers.
constexpr int commandsOfADesk = 4;
/// Divides the number of commands.
constexpr int commandsOfATurn = desks * commandsOfADesk + browsers;
/// After so many turns the senders wait until all has been carried out: the system's buffer has
/// room for what they send meanwhile, and so has the pipe of the log.
constexpr int turnsUntilCheck = 8;

} // namespace

/// Lighting desks and browsers send at the same time, and nothing gets lost, comes twice or
/// overtakes. Every other command of a sender flashes, which the program counts; those between
/// carry the sender's number and a running one.
class CommandCountTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void carriesOutEachOnceAndInOrder()
    {
        m_program.setSettings({{u"webRemoteEnabled"_s, true}});
        QVERIFY(m_program.start());
        m_webPort = m_program.webPort();
        std::array<QUdpSocket, desks> senders;
        for (QUdpSocket& desk : senders)
            desk.connectToHost(QHostAddress::LocalHost, m_program.port());

        for (int turn = 1; turn <= commandCount / commandsOfATurn; ++turn) {
            std::vector<std::unique_ptr<HTTPPeer>> requests;
            for (int sender = desks; sender < desks + browsers; ++sender) {
                requests.push_back(std::make_unique<HTTPPeer>(m_webPort));
                requests.back()->get("/cmd?c=" + nextCommand(sender));
            }
            for (int command = 0; command < commandsOfADesk; ++command) {
                for (int desk = 0; desk < desks; ++desk)
                    QVERIFY(senders.at(static_cast<size_t>(desk)).write(nextCommand(desk)) > 0);
            }
            for (const auto& request : requests)
                QCOMPARE(request->answer(), R"({"ok":true})");
            if (turn % turnsUntilCheck != 0)
                continue;
            QVERIFY(waitForFlashes());
            readLog();
            if (QTest::currentTestFailed())
                return;
        }

        QVERIFY(waitForFlashes());
        m_program.send("RESET");
        QVERIFY(m_program.waitForLog("command reset"));
        readLog();
        for (size_t sender = 0; sender < m_sent.size(); ++sender)
            QCOMPARE(m_marksCarriedOut.at(sender), m_sent.at(sender) / 2);
    }

private:
    QByteArray nextCommand(int sender)
    {
        const int number = m_sent.at(static_cast<size_t>(sender))++;
        if (number % 2 == 0) {
            ++m_flashesSent;
            return "FLASH";
        }
        return "MSG" + QByteArray::number(sender) + '.' + QByteArray::number(number / 2);
    }

    /// Until all that were sent have been carried out; false when there are more, or too few after
    /// ten seconds.
    bool waitForFlashes()
    {
        const QDeadlineTimer deadline(10'000);
        for (qint64 carriedOut = -1; carriedOut != m_flashesSent;) {
            if (deadline.hasExpired() || carriedOut > m_flashesSent)
                return false;
            HTTPPeer request(m_webPort);
            request.get("/state");
            carriedOut = QJsonDocument::fromJson(request.answer())[u"strobeCount"].toInteger();
        }
        return true;
    }

    void readLog()
    {
        static const QRegularExpression mark(uR"x(command message\("(\d+)\.(\d+)"\)$)x"_s);
        while (m_program.process().waitForReadyRead(0)) { }
        const QByteArray log = m_program.log();
        for (qsizetype end = 0; (end = log.indexOf('\n', m_logRead)) >= 0; m_logRead = end + 1) {
            const QString line = QString::fromUtf8(log.sliced(m_logRead, end - m_logRead));
            const auto match = mark.match(line);
            if (!match.hasMatch())
                continue;
            int& next = m_marksCarriedOut.at(static_cast<size_t>(match.captured(1).toInt()));
            QCOMPARE(match.captured(2).toInt(), next);
            ++next;
        }
    }

    RunningProgram m_program;
    quint16 m_webPort = 0;
    std::array<int, desks + browsers> m_sent {};
    std::array<int, desks + browsers> m_marksCarriedOut {};
    int m_flashesSent = 0;
    qsizetype m_logRead = 0;
};

QTEST_GUILESS_MAIN(CommandCountTest)
#include "tst_CommandCount.moc"
