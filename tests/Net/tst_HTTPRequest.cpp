#include "Net/HTTPRequest.h"

#include <QTest>

using namespace Qt::StringLiterals;
using Query = QHash<QString, QString>;

class HTTPRequestTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void findsTheEndOfTheHead_data()
    {
        QTest::addColumn<QByteArray>("received");
        QTest::addColumn<RequestHead::State>("state");
        QTest::addColumn<QString>("text");
        using enum RequestHead::State;
        QTest::newRow("body behind it")
            << QByteArray("GET /\r\nA: b\r\n\r\nbody\r\n\r\n") << complete << u"GET /\r\nA: b"_s;
        QTest::newRow("not UTF-8, and a byte order mark")
            << QByteArray("\xef\xbb\xbf\xff /\r\n\r\n") << complete << u"\uFEFF\uFFFD /"_s;
        QTest::newRow("longest without an end") << QByteArray(65535, 'a') << incomplete << u""_s;
        QTest::newRow("longer") << QByteArray(65536, 'a') << tooLong << u""_s;
        QTest::newRow("longer, with its end") << QByteArray(65536, 'a') + "\r\n\r\n"
                                              << complete << QString(65536, u'a');
    }
    void findsTheEndOfTheHead()
    {
        QFETCH(const QByteArray, received);
        const RequestHead head = readRequest(received, 0);
        QTEST(head.state, "state");
        QTEST(head.text, "text");
    }

    /// However the segments fall, the end is found when its last byte is there and not before.
    void findsAnEndInSegments()
    {
        const QByteArray request = "GET /\r\n\r\n";
        for (qsizetype known = 1; known < request.size(); ++known) {
            QCOMPARE(
                readRequest(request.first(known), known - 1).state, RequestHead::State::incomplete);
            QCOMPARE(readRequest(request, known).state, RequestHead::State::complete);
        }
    }

    void findsTheTarget()
    {
        QCOMPARE(requestTarget(u"GET /state HTTP/1.1\r\nHost: a b c"_s).toString(), u"/state"_s);
        QCOMPARE(requestTarget(u"  POST   /cues "_s).toString(), u"/cues"_s);
        QCOMPARE(requestTarget(u"\r\n\r\nGET /a\r\nGET /b"_s).toString(), u"/a"_s);
        QCOMPARE(requestTarget(u"GET"_s).toString(), u"/"_s);
        // Not in the second line.
        QCOMPARE(requestTarget(u"GET\r\nHost: /state"_s).toString(), u"/"_s);
        // A tab is no space.
        QCOMPARE(requestTarget(u"GET\t/state HTTP/1.1"_s).toString(), u"HTTP/1.1"_s);
    }

    void takesTargetsApart_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("path");
        QTest::addColumn<Query>("query");
        const auto row = [](const char* name, const QString& query, const Query& expected) {
            QTest::newRow(name) << u"/cmd?"_s + query << u"/cmd"_s << expected;
        };
        QTest::newRow("no query") << u"/a%20b"_s << u"/a%20b"_s << Query();
        row("second question mark", u"c=a?b"_s, {{u"c"_s, u"a?b"_s}});
        row("parts left empty", u"&&a=1&&b=2&"_s, {{u"a"_s, u"1"_s}, {u"b"_s, u"2"_s}});
        row("later wins, with no value too", u"c=1&c"_s, {{u"c"_s, u""_s}});
        row("signs first, then a value", u"==k=v"_s, {{u"k"_s, u"v"_s}});
        row("escapes in both", u"%63=GO%205%2b"_s, {{u"c"_s, u"GO 5+"_s}});
        row("escaped separators", u"c=a%26b%3Dc"_s, {{u"c"_s, u"a&b=c"_s}});
        row("beyond ASCII", u"c=%C3%A9é%F0%9F%8E%AD"_s, {{u"c"_s, u"éé🎭"_s}});
        row("NUL and byte order mark", u"c=%00%EF%BB%BF"_s, {{u"c"_s, u"\0\uFEFF"_s}});
        // A bad key is kept raw, a bad value becomes empty.
        row("second digit bad", u"%4g=%4g"_s, {{u"%4g"_s, u""_s}});
        row("cut short", u"a%4=a%4"_s, {{u"a%4"_s, u""_s}});
        row("surrogate", u"%ED%A0%80=%ED%A0%80"_s, {{u"%ED%A0%80"_s, u""_s}});
    }
    void takesTargetsApart()
    {
        QFETCH(const QString, target);
        const ParsedTarget parsed = parseTarget(target);
        QTEST(parsed.path, "path");
        QTEST(parsed.query, "query");
    }
};

QTEST_GUILESS_MAIN(HTTPRequestTest)
#include "tst_HTTPRequest.moc"
