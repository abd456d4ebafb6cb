#include "Update/UpdateChecker.h"

#include "helpers/ManualClock.h"
#include "helpers/MemoryPreferences.h"

#include <QApplication>
#include <QDesktopServices>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString failed = u"Couldn’t check for updates"_s;
const QString unreadable = u"The answer of the update feed is not in the correct format."_s;
const QString badResponse = u"There was a bad response from the server."_s;

QByteArray answer(const QByteArray& body, const QByteArray& status = "200 OK")
{
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + QByteArray::number(body.size())
        + "\r\nConnection: close\r\n\r\n" + body;
}

QByteArray manifest(const QByteArray& version, const QByteArray& more = {})
{
    return R"({"version":")" + version + R"(","downloadURL":"https://example.org/tarrow")" + more
        + "}";
}

/// Answers requests by their path. Paths without an answer get a closed connection.
class Feed {
public:
    /// Byte by byte waits a turn of the event loop before every next one; endless goes on so.
    enum class Pace { atOnce, byteByByte, endless };

    QMap<QByteArray, QByteArray> answers;
    Pace pace = Pace::atOnce;
    QList<QByteArray> requests;

    Feed()
    {
        if (!m_server.listen(QHostAddress::LocalHost))
            qFatal("cannot listen");
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
            QTcpSocket* socket = m_server.nextPendingConnection();
            QObject::connect(
                socket, &QTcpSocket::readyRead, socket, [this, socket] { respond(*socket); });
        });
    }

    [[nodiscard]] QString address() const
    {
        return u"http://127.0.0.1:%1/"_s.arg(m_server.serverPort());
    }

private:
    void respond(QTcpSocket& socket)
    {
        requests.append(socket.readAll());
        const QByteArray response = answers.value(requests.last().split(' ').value(1));
        if (pace != Pace::atOnce) {
            drip(socket, response);
            return;
        }
        socket.write(response);
        socket.disconnectFromHost();
    }

    void drip(QTcpSocket& socket, const QByteArray& rest) const
    {
        if (rest.isEmpty() && pace != Pace::endless) {
            socket.disconnectFromHost();
            return;
        }
        socket.write(rest.isEmpty() ? " " : rest.first(1));
        QObject::connect(
            &socket, &QTcpSocket::bytesWritten, &socket,
            [this, &socket, rest = rest.sliced(std::min<qsizetype>(1, rest.size()))] {
                drip(socket, rest);
            },
            Qt::SingleShotConnection);
    }

    QTcpServer m_server;
};

QList<QMessageBox*> alerts()
{
    QList<QMessageBox*> boxes;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* box = qobject_cast<QMessageBox*>(widget); box && box->isVisible())
            boxes.append(box);
    }
    return boxes;
}

/// Message, informative text and buttons of each alert.
QList<QStringList> alertTexts()
{
    QList<QStringList> texts;
    for (const QMessageBox* box : alerts()) {
        texts.append({box->text(), box->informativeText()});
        for (const QAbstractButton* button : box->buttons())
            texts.last().append(button->text());
    }
    return texts;
}

void choose(const QString& title)
{
    for (QAbstractButton* button : alerts().constFirst()->buttons()) {
        if (button->text() == title)
            button->click();
    }
    QTRY_COMPARE(alerts().size(), 0);
}

} // namespace

class UpdateCheckerTest : public QObject {
    Q_OBJECT

public Q_SLOTS:
    void openInBrowser(const QUrl& address) { m_opened.append(address.toString()); }

private Q_SLOTS:
    void initTestCase() { QCoreApplication::addLibraryPath(QStringLiteral(TARROW_MODULES)); }
    void init();
    void comparesVersions_data();
    void comparesVersions();
    void tellsEveryOutcome_data();
    void tellsEveryOutcome();
    void takesItsTime_data();
    void takesItsTime();
    void hasNoFeed_data();
    void hasNoFeed();
    void checksOnceADay_data();
    void checksOnceADay();
    void offersAgainAfterASkip();
    void keepsLongNotesOnTheScreen();
    void opensTheDownload_data();
    void opensTheDownload();
    void endsWithARequestUnderWay();

private:
    struct Stage {
        Feed feed;
        MemoryPreferences preferences;
        ManualClock clock;
        std::optional<UpdateChecker> checker;

        explicit Stage(const QByteArray& response, std::chrono::milliseconds limit = 15s)
        {
            feed.answers = {{"/", response}};
            checker.emplace(QJsonObject {{u"TRUpdateFeedURL"_s, feed.address()},
                                {u"CFBundleShortVersionString"_s, u"1.9"_s}},
                preferences, clock.clock(), limit);
        }
    };

    QStringList m_opened;
};

void UpdateCheckerTest::init()
{
    m_opened.clear();
    QDesktopServices::setUrlHandler(u"https"_s, this, "openInBrowser");
}

void UpdateCheckerTest::comparesVersions_data()
{
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<bool>("newer");

    QTest::newRow("numbers, not text") << u"1.10"_s << u"1.9"_s << true;
    QTest::newRow("missing pieces are 0") << u"1.2.0"_s << u"1.2"_s << false;
    QTest::newRow("first difference") << u"2"_s << u"1.99.99"_s << true;
    QTest::newRow("older") << u"1.99.99"_s << u"2"_s << false;
    QTest::newRow("suffix") << u"1.3b2"_s << u"1.3"_s << false;
    QTest::newRow("no digits") << u"1.rc1"_s << u"1.0"_s << false;
    QTest::newRow("empty pieces") << u".1..2."_s << u"1.1.9"_s << true;
    QTest::newRow("too large") << u"99999999999999999999"_s << u"1"_s << false;
    QTest::newRow("other numbers spoil a piece") << u"3²"_s << u"1"_s << false;
    QTest::newRow("nothing") << QString() << u"0"_s << false;
}

void UpdateCheckerTest::comparesVersions()
{
    QFETCH(QString, a);
    QFETCH(QString, b);
    QFETCH(bool, newer);

    QCOMPARE(UpdateChecker::isNewer(a, b), newer);
}

void UpdateCheckerTest::tellsEveryOutcome_data()
{
    QTest::addColumn<QByteArray>("response");
    QTest::addColumn<QStringList>("told");

    const QStringList upToDate {
        u"You’re up to date"_s, u"Tarrow 1.9 is the latest version."_s, u"OK"_s};
    const QString available = u"A new version of Tarrow is available"_s;
    const QString offer = u"Tarrow 1.10 is available — you have 1.9."_s;
    const QStringList buttons {u"Download"_s, u"Skip This Version"_s, u"Later"_s};
    const auto failure = [](const QString& reason) {
        return QStringList {failed, reason, u"OK"_s};
    };

    QTest::newRow("same") << answer(manifest("1.9.0")) << upToDate;
    QTest::newRow("newer") << answer(manifest("1.10")) << QStringList {available, offer} + buttons;
    QTest::newRow("notes, and keys of no consequence")
        << answer(manifest("1.10",
               R"(,"notes":"<b>New</b>\nclock","build":7.0,"minimumSystemVersion":"99","x":[])"))
        << QStringList {available, offer + u"\n\n<b>New</b>\nclock"_s} + buttons;
    QTest::newRow("null is absent")
        << answer(manifest("1.9", R"(,"notes":null,"build":null)")) << upToDate;
    QTest::newRow("redirected") << QByteArray(
        "HTTP/1.1 302 Found\r\nLocation: /moved\r\nContent-Length: 0\r\n\r\n")
                                << upToDate;
    QTest::newRow("not found") << answer(manifest("2"), "404 Not Found") << failure(badResponse);
    QTest::newRow("another good status")
        << answer(manifest("2"), "203 Changed") << failure(badResponse);
    QTest::newRow("closes without an answer") << QByteArray() << failure(u"Connection closed"_s);
    QTest::newRow("breaks off") << answer(manifest("2")).chopped(1)
                                << failure(u"Connection closed"_s);
    for (const char* body : {"", "[]", "{\"version\":\"2\"}", "{\"downloadURL\":\"x\"}",
             "{\"version\":2,\"downloadURL\":\"x\"}", "{\"version\":\"2\",\"downloadURL\":null}"})
        QTest::addRow("body %s", body) << answer(body) << failure(unreadable);
    for (const char* key :
        {"\"build\":1.5", "\"build\":\"1\"", "\"notes\":1", "\"minimumSystemVersion\":12"})
        QTest::addRow("with %s", key)
            << answer(manifest("2", QByteArray(",") + key)) << failure(unreadable);

    const QByteArray largest = manifest("1.9").leftJustified(1 << 20);
    QTest::newRow("a mebibyte") << answer(largest) << upToDate;
    QTest::newRow("more") << answer(largest + ' ') << failure(unreadable);
}

void UpdateCheckerTest::tellsEveryOutcome()
{
    QFETCH(QByteArray, response);
    QFETCH(QStringList, told);

    Stage stage(response);
    stage.feed.answers["/moved"] = answer(manifest("1.9"));
    stage.checker->checkInBackground(true);
    QTRY_VERIFY(!stage.feed.requests.isEmpty());
    stage.checker->checkForUpdatesMenu();
    const bool isTwice = told.contains(u"Download"_s);
    QTRY_COMPARE(alertTexts(), QList<QStringList>(isTwice ? 2 : 1, told));
    QCOMPARE(stage.preferences.texts.contains(UpdateChecker::lastCheckKey.toString()),
        told.first() != failed);
    for (const QByteArray& request : stage.feed.requests)
        QVERIFY(request.toLower().contains("cache-control: no-cache"));
}

void UpdateCheckerTest::takesItsTime_data()
{
    QTest::addColumn<Feed::Pace>("pace");
    QTest::addColumn<std::chrono::milliseconds>("limit");
    QTest::addColumn<QString>("told");

    QTest::newRow("slow") << Feed::Pace::byteByByte << std::chrono::milliseconds(15s)
                          << u"Tarrow 1.9 is the latest version."_s;
    QTest::newRow("endless") << Feed::Pace::endless << 200ms << u"The request timed out."_s;
}

void UpdateCheckerTest::takesItsTime()
{
    QFETCH(Feed::Pace, pace);
    QFETCH(std::chrono::milliseconds, limit);
    QFETCH(QString, told);

    // Without a length the body ends with the connection.
    Stage stage("HTTP/1.1 200 OK\r\n\r\n" + manifest("1.9"), limit);
    stage.feed.pace = pace;
    stage.checker->checkForUpdatesMenu();
    QVERIFY(!stage.checker->isIdle());
    QTRY_COMPARE(alertTexts().value(0).value(1), told);
    // What has taken too long may still be held up by a name server.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(stage.checker->isIdle(), pace == Feed::Pace::byteByByte);
}

void UpdateCheckerTest::hasNoFeed_data()
{
    QTest::addColumn<QJsonValue>("address");
    QTest::addColumn<QString>("reason");

    const QString none = u"No update feed is configured."_s;
    QTest::newRow("missing") << QJsonValue(QJsonValue::Undefined) << none;
    QTest::newRow("no text") << QJsonValue(1) << none;
    QTest::newRow("empty") << QJsonValue(QString()) << none;
    QTest::newRow("not absolute") << QJsonValue(u"tarrow/feed.json"_s) << none;
    QTest::newRow("no address") << QJsonValue(u"http://a b/"_s) << none;
    QTest::newRow("nobody there") << QJsonValue(u"http://127.0.0.1:1/"_s)
                                  << u"Connection refused"_s;
}

void UpdateCheckerTest::hasNoFeed()
{
    QFETCH(QJsonValue, address);
    QFETCH(QString, reason);

    MemoryPreferences preferences;
    UpdateChecker checker({{u"TRUpdateFeedURL"_s, address}}, preferences);
    checker.checkInBackground(true);
    QCOMPARE(alerts().size(), 0);
    checker.checkForUpdatesMenu();
    QTRY_COMPARE(alertTexts(), QList<QStringList>({{failed, reason, u"OK"_s}}));
    QCOMPARE(preferences.writes, 0);
}

void UpdateCheckerTest::checksOnceADay_data()
{
    QTest::addColumn<bool>("autoEnabled");
    QTest::addColumn<std::optional<std::chrono::milliseconds>>("since");
    QTest::addColumn<bool>("checks");

    using Since = std::optional<std::chrono::milliseconds>;
    QTest::newRow("never") << true << Since() << true;
    QTest::newRow("switched off") << false << Since() << false;
    QTest::newRow("a day") << true << Since(24h) << false;
    QTest::newRow("more") << true << Since(24h + 1ms) << true;
    QTest::newRow("in a year to come") << true << Since(-8760h) << false;
}

/// Whether a request leaves is known when the next one, which must leave, has.
void UpdateCheckerTest::checksOnceADay()
{
    QFETCH(bool, autoEnabled);
    QFETCH(std::optional<std::chrono::milliseconds>, since);
    QFETCH(bool, checks);

    Stage stage(answer(manifest("1.9")));
    if (since) {
        stage.checker->checkForUpdatesMenu();
        QTRY_COMPARE(alerts().size(), 1);
        choose(u"OK"_s);
        stage.clock.advance(*since);
    } else {
        stage.preferences.texts[UpdateChecker::lastCheckKey.toString()] = u"yesterday"_s;
    }
    stage.feed.requests.clear();
    stage.checker->checkInBackground(autoEnabled);
    stage.checker->checkForUpdatesMenu();
    QTRY_COMPARE(alerts().size(), 1);
    QCOMPARE(stage.feed.requests.size(), checks ? 2 : 1);
}

void UpdateCheckerTest::offersAgainAfterASkip()
{
    Stage stage(answer(manifest("1.10")));
    stage.checker->checkInBackground(true);
    QTRY_COMPARE(alerts().size(), 1);
    choose(u"Skip This Version"_s);
    QCOMPARE(stage.preferences.texts[UpdateChecker::skipKey.toString()], u"1.10"_s);

    stage.clock.advance(25h);
    stage.checker->checkInBackground(true);
    QTRY_COMPARE(stage.feed.requests.size(), 2);
    stage.checker->checkForUpdatesMenu();
    QTRY_COMPARE(alerts().size(), 1);
    choose(u"Later"_s);

    stage.feed.answers["/"] = answer(manifest("1.10.0"));
    stage.clock.advance(25h);
    stage.checker->checkInBackground(true);
    QTRY_COMPARE(alerts().size(), 1);
    QCOMPARE(m_opened, QStringList());
}

void UpdateCheckerTest::keepsLongNotesOnTheScreen()
{
    const QByteArray notes = QByteArray("A line of notes.\\n").repeated(1000);
    Stage stage(answer(manifest("2", R"(,"notes":")" + notes + '"')));
    stage.checker->checkForUpdatesMenu();
    QTRY_COMPARE(alerts().size(), 1);
    const QMessageBox& alert = *alerts().constFirst();
    QVERIFY(alert.height() < QGuiApplication::primaryScreen()->availableSize().height());
    const QString shown = alert.findChild<QPlainTextEdit*>()->toPlainText();
    QVERIFY(shown.startsWith(u"Tarrow 2 is available — you have 1.9.\n\nA line"_s));
    QCOMPARE(shown.count(u'\n'), 1002);
}

void UpdateCheckerTest::opensTheDownload_data()
{
    QTest::addColumn<QByteArray>("address");
    QTest::addColumn<QStringList>("opened");

    QTest::newRow("valid") << QByteArray("https://example.org/a?b=c")
                           << QStringList {u"https://example.org/a?b=c"_s};
    QTest::newRow("not valid") << QByteArray("https://example org/") << QStringList();
    QTest::newRow("not of the web") << QByteArray("file:///bin/sh") << QStringList();
}

void UpdateCheckerTest::opensTheDownload()
{
    QFETCH(QByteArray, address);
    QFETCH(QStringList, opened);

    Stage stage(answer(R"({"version":"2","downloadURL":")" + address + "\"}"));
    stage.checker->checkForUpdatesMenu();
    QTRY_COMPARE(alerts().size(), 1);
    choose(u"Download"_s);
    QCOMPARE(m_opened, opened);
    QVERIFY(!stage.preferences.texts.contains(UpdateChecker::skipKey.toString()));
}

/// And with an alert open.
void UpdateCheckerTest::endsWithARequestUnderWay()
{
    Stage stage(answer(manifest("2")));
    stage.checker->checkForUpdatesMenu();
    QTRY_COMPARE(alerts().size(), 1);
    stage.feed.requests.clear();
    stage.checker->checkForUpdatesMenu();
    QVERIFY(!stage.checker->isIdle());
    QTRY_COMPARE(stage.feed.requests.size(), 1);
    stage.checker.reset();
    QCOMPARE(alerts().size(), 0);
}

QTEST_MAIN(UpdateCheckerTest)
#include "tst_UpdateChecker.moc"
