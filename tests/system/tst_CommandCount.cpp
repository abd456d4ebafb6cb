#include "helpers/HTTPPeer.h"
#include "helpers/RunningProgram.h"

#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QTest>

#include <array>
#include <memory>
#include <numeric>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int commandCount = 100'000;
constexpr int desks = 6;
constexpr int browsers = 8;
/// What each desk sends while the browsers wait for their answers.
constexpr int commandsOfADesk = 4;
constexpr int commandsOfATurn = desks * commandsOfADesk + browsers;
/// After so many turns the senders wait until all has been carried out: the system's buffer has
/// room for what they send meanwhile, and so has the pipe of the log.
constexpr int turnsUntilCheck = 8;

/// A lighting desk: sends datagrams from a port of its own.
class Desk {
public:
    explicit Desk(quint16 port)
        : m_descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        m_isConnected =
            connect(m_descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }
    Desk(const Desk&) = delete;
    Desk& operator=(const Desk&) = delete;
    ~Desk() { close(m_descriptor); }

    [[nodiscard]] bool send(const QByteArray& text) const
    {
        return m_isConnected
            && ::send(m_descriptor, text.constData(), static_cast<size_t>(text.size()), 0)
            == text.size();
    }

private:
    int m_descriptor;
    bool m_isConnected = false;
};

/// A request, and its answer.
class Request {
public:
    Request(quint16 port, const QByteArray& target)
        : m_peer(port)
    {
        m_peer.send("GET " + target + " HTTP/1.1\r\n\r\n");
    }

    /// The body; empty when there is none after ten seconds. It does not sleep until then: an
    /// answer takes far less than Qt Test would.
    [[nodiscard]] QByteArray answer()
    {
        const QDeadlineTimer deadline(10'000);
        while (!m_peer.receiveAll() && !deadline.hasExpired())
            std::this_thread::yield();
        const qsizetype headEnd = m_peer.received().indexOf("\r\n\r\n");
        return headEnd < 0 ? QByteArray() : m_peer.received().sliced(headEnd + 4);
    }

private:
    HTTPPeer m_peer;
};

} // namespace

/// Lighting desks and browsers send at the same time, and nothing gets lost, comes twice or
/// overtakes. Every other command of a sender flashes, which the program counts; those between
/// carry the sender's number and a running one.
class CommandCountTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void carriesOutEachOnceAndInOrder();

private:
    QByteArray nextCommand(int sender);
    [[nodiscard]] bool waitForFlashes();
    void readLog();

    RunningProgram m_program;
    quint16 m_webPort = 0;
    std::array<int, desks + browsers> m_sent {};
    std::array<int, desks + browsers> m_marksCarriedOut {};
    int m_flashesSent = 0;
    int m_flashesLogged = 0;
    qsizetype m_logRead = 0;
};

QByteArray CommandCountTest::nextCommand(int sender)
{
    const int number = m_sent.at(static_cast<size_t>(sender))++;
    if (number % 2 == 0) {
        ++m_flashesSent;
        return "FLASH";
    }
    return "MSG" + QByteArray::number(sender) + '.' + QByteArray::number(number / 2);
}

/// Until all that were sent have been carried out; false when there are more, or too few after ten
/// seconds.
bool CommandCountTest::waitForFlashes()
{
    const QDeadlineTimer deadline(10'000);
    for (qint64 carriedOut = -1; carriedOut != m_flashesSent;) {
        if (deadline.hasExpired() || carriedOut > m_flashesSent)
            return false;
        const QByteArray body = Request(m_webPort, "/state").answer();
        carriedOut = QJsonDocument::fromJson(body)[u"strobeCount"].toInteger();
    }
    return true;
}

void CommandCountTest::readLog()
{
    static const QRegularExpression mark(uR"x(command message\("(\d+)\.(\d+)"\)$)x"_s);
    while (m_program.process().waitForReadyRead(0)) { }
    const QByteArray log = m_program.log();
    for (qsizetype end = 0; (end = log.indexOf('\n', m_logRead)) >= 0; m_logRead = end + 1) {
        const QString line = QString::fromUtf8(log.sliced(m_logRead, end - m_logRead));
        m_flashesLogged += line.endsWith(u"command strobe");
        const auto match = mark.match(line);
        if (!match.hasMatch())
            continue;
        int& next = m_marksCarriedOut.at(static_cast<size_t>(match.captured(1).toInt()));
        QCOMPARE(match.captured(2).toInt(), next);
        ++next;
    }
}

void CommandCountTest::carriesOutEachOnceAndInOrder()
{
    m_program.setStored(
        u"TarrowSettings.v1"_s, RunningProgram::settingsDocument({{u"webRemoteEnabled"_s, true}}));
    QVERIFY(m_program.start());
    QVERIFY(m_program.waitForLog("Web remote on port"));
    static const QRegularExpression listening(u"Web remote on port (\\d+)"_s);
    m_webPort = listening.match(QString::fromUtf8(m_program.log())).captured(1).toUShort();
    std::vector<std::unique_ptr<Desk>> senders;
    senders.reserve(desks);
    for (int desk = 0; desk < desks; ++desk)
        senders.push_back(std::make_unique<Desk>(m_program.port()));

    for (int turn = 1; turn <= commandCount / commandsOfATurn; ++turn) {
        std::vector<std::unique_ptr<Request>> requests;
        requests.reserve(browsers);
        for (int sender = desks; sender < desks + browsers; ++sender)
            requests.push_back(
                std::make_unique<Request>(m_webPort, "/cmd?c=" + nextCommand(sender)));
        for (int command = 0; command < commandsOfADesk; ++command) {
            for (int desk = 0; desk < desks; ++desk)
                QVERIFY(senders[static_cast<size_t>(desk)]->send(nextCommand(desk)));
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
    QCOMPARE(std::accumulate(m_sent.begin(), m_sent.end(), 0), commandCount);
    QCOMPARE(m_flashesLogged, m_flashesSent);
    for (size_t sender = 0; sender < m_sent.size(); ++sender)
        QCOMPARE(m_marksCarriedOut.at(sender), m_sent.at(sender) / 2);
}

QTEST_GUILESS_MAIN(CommandCountTest)
#include "tst_CommandCount.moc"
