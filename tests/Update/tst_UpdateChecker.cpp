#include "Update/UpdateChecker.h"

#include "helpers/ManualClock.h"
#include "helpers/MemoryPreferences.h"

#include <QApplication>
#include <QDesktopServices>
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
    QMap<QByteArray, QByteArray> answers;
    /// Each answer goes on for ever.
    bool isEndless = false;
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
        socket.write(response);
        if (isEndless) {
            QObject::connect(
                &socket, &QTcpSocket::bytesWritten, &socket, [&socket] { socket.write(" "); });
        } else {
            socket.disconnectFromHost();
        }
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
    for (const QMessageBox* box : alerts()) {
        for (QAbstractButton* button : box->buttons()) {
            if (button->text() == title)
                button->click();
        }
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
    void init()
    {
        m_opened.clear();
        for (const QString& scheme : {u"https"_s, u"file"_s})
            QDesktopServices::setUrlHandler(scheme, this, "openInBrowser");
    }

    void comparesVersions()
    {
        // By their numbers.
        QVERIFY(UpdateChecker::isNewer(u"1.10"_s, u"1.9"_s));
        // Missing pieces are 0, and empty ones are none.
        QVERIFY(!UpdateChecker::isNewer(u"1.2.0"_s, u"1.2"_s));
        QVERIFY(UpdateChecker::isNewer(u".1..2."_s, u"1.1.9"_s));
        QVERIFY(!UpdateChecker::isNewer(u"1.3b2"_s, u"1.3"_s));
        // What is too large for a number is 0.
        QVERIFY(!UpdateChecker::isNewer(u"99999999999999999999"_s, u"1"_s));
    }

    void tellsEveryOutcome_data()
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

        const auto row = [](const char* name, const QByteArray& response, const QStringList& told) {
            QTest::newRow(name) << response << told;
        };
        row("same", answer(manifest("1.9.0")), upToDate);
        row("newer", answer(manifest("1.10")), QStringList {available, offer} + buttons);
        row("notes, and keys of no consequence",
            answer(manifest("1.10",
                R"(,"notes":"<b>New</b>\nclock","build":7.0,"minimumSystemVersion":"9","x":[])")),
            QStringList {available, offer + u"\n\n<b>New</b>\nclock"_s} + buttons);
        row("null is absent", answer(manifest("1.9", R"(,"notes":null,"build":null)")), upToDate);
        row("redirected", "HTTP/1.1 302 Found\r\nLocation: /moved\r\nContent-Length: 0\r\n\r\n",
            upToDate);
        row("not found", answer(manifest("2"), "404 Not Found"), failure(badResponse));
        row("closes without an answer", {}, failure(u"Connection closed"_s));
        row("no object", answer("[]"), failure(unreadable));
        row("number for a version", answer(R"({"version":2,"downloadURL":"x"})"),
            failure(unreadable));
        row("no address", answer(R"({"version":"2","downloadURL":null})"), failure(unreadable));
        row("broken build", answer(manifest("2", R"(,"build":1.5)")), failure(unreadable));
        row("more than a mebibyte", answer(manifest("1.9").leftJustified((1 << 20) + 1)),
            failure(unreadable));
    }
    void tellsEveryOutcome()
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
        QCOMPARE(stage.preferences.texts.value(UpdateChecker::lastCheckKey.toString()),
            told.first() == failed ? QString() : u"2026-11-22T00:00:00.000Z"_s);
    }

    void waitsForNoEndlessAnswer()
    {
        // Without a length the body ends with the connection.
        Stage stage("HTTP/1.1 200 OK\r\n\r\n" + manifest("1.9"), 200ms);
        stage.feed.isEndless = true;
        stage.checker->checkForUpdatesMenu();
        QTRY_COMPARE(alertTexts().value(0).value(1), u"The request timed out."_s);
        // It may still be held up by a name server.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!stage.checker->isIdle());
    }

    void hasNoFeed()
    {
        const QString none = u"No update feed is configured."_s;
        for (const auto& [address, reason] : {std::pair(QJsonValue(QJsonValue::Undefined), none),
                 {QJsonValue(1), none}, {QJsonValue(u"http://a b/"_s), none},
                 {QJsonValue(u"http://127.0.0.1:1/"_s), u"Connection refused"_s}}) {
            MemoryPreferences preferences;
            UpdateChecker checker({{u"TRUpdateFeedURL"_s, address}}, preferences);
            checker.checkInBackground(true);
            QCOMPARE(alerts().size(), 0);
            checker.checkForUpdatesMenu();
            QTRY_COMPARE(alertTexts(), QList<QStringList>({{failed, reason, u"OK"_s}}));
            QCOMPARE(preferences.writes, 0);
        }
    }

    void checksOnceADay_data()
    {
        QTest::addColumn<QString>("last");
        QTest::addColumn<bool>("checks");
        QTest::newRow("never") << "" << true;
        QTest::newRow("broken") << "yesterday" << true;
        QTest::newRow("a day") << "2026-11-21T00:00:00.000Z" << false;
        QTest::newRow("more") << "2026-11-20T23:59:59.999Z" << true;
        QTest::newRow("in a year to come") << "2027-11-22T00:00:00.000Z" << false;
    }
    /// Whether a request leaves is known when the next one, which must leave, has.
    void checksOnceADay()
    {
        QFETCH(QString, last);
        QFETCH(bool, checks);

        Stage stage(answer(manifest("1.9")));
        stage.preferences.texts[UpdateChecker::lastCheckKey.toString()] = last;
        stage.checker->checkInBackground(false);
        stage.checker->checkInBackground(true);
        stage.checkAtTheMenu();
        QCOMPARE(stage.feed.requests.size(), checks ? 2 : 1);
    }

    void offersAgainAfterASkip()
    {
        Stage stage(answer(manifest("1.10")));
        stage.checker->checkInBackground(true);
        QTRY_COMPARE(alerts().size(), 1);
        choose(u"Skip This Version"_s);
        QCOMPARE(stage.preferences.texts[UpdateChecker::skipKey.toString()], u"1.10"_s);

        stage.clock.advance(25h);
        stage.checker->checkInBackground(true);
        QTRY_COMPARE(stage.feed.requests.size(), 2);
        stage.checkAtTheMenu();
        choose(u"Later"_s);

        stage.feed.answers["/"] = answer(manifest("1.10.0"));
        stage.clock.advance(25h);
        stage.checker->checkInBackground(true);
        QTRY_COMPARE(alerts().size(), 1);
        QCOMPARE(m_opened, QStringList());
    }

    void keepsLongNotesOnTheScreen()
    {
        const QByteArray notes = QByteArray("A line of notes.\\n").repeated(1000);
        Stage stage(answer(manifest("2", ",\"notes\":\"" + notes + "\"")));
        stage.checkAtTheMenu();
        const int room = QGuiApplication::primaryScreen()->availableSize().height();
        QVERIFY(alerts().constFirst()->height() < room);
    }

    void opensDownloadsOfTheWeb()
    {
        for (const char* const address :
            {"https://example.org/a?b=c", "https://example org/", "file://host/bin/sh"}) {
            Stage stage(
                answer(QByteArray("{\"version\":\"2\",\"downloadURL\":\"") + address + "\"}"));
            stage.checkAtTheMenu();
            choose(u"Download"_s);
            QVERIFY(!stage.preferences.texts.contains(UpdateChecker::skipKey.toString()));
        }
        QCOMPARE(m_opened, QStringList {u"https://example.org/a?b=c"_s});
    }

    /// And with an alert open.
    void endsWithARequestUnderWay()
    {
        Stage stage(answer(manifest("2")));
        stage.checkAtTheMenu();
        stage.feed.requests.clear();
        stage.checker->checkForUpdatesMenu();
        QVERIFY(!stage.checker->isIdle());
        QTRY_COMPARE(stage.feed.requests.size(), 1);
        stage.checker.reset();
        QCOMPARE(alerts().size(), 0);
    }

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

        /// Up to the alert.
        void checkAtTheMenu()
        {
            checker->checkForUpdatesMenu();
            QTRY_COMPARE(alerts().size(), 1);
        }
    };

    QStringList m_opened;
};

QTEST_MAIN(UpdateCheckerTest)
#include "tst_UpdateChecker.moc"
