#include "Model/CueList.h"

#include "helpers/EngineRig.h"

#include <QJsonDocument>
#include <QTest>

#include <functional>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

QUuid identity(int number)
{
    return QUuid::fromString(u"00000000-0000-4000-8000-00000000000%1"_s.arg(number));
}

/// A running order of the cues A, B and C, of 10, 20 and 30 seconds, on an engine of its own.
struct Show : EngineRig {
    CueController controller {engine, settings, preferences};

    Show()
    {
        controller.cues = QList<Cue> {
            {identity(1), u"A"_s, 10}, {identity(2), u"B"_s, 20}, {identity(3), u"C"_s, 30}};
    }

    /// "A *B C": the titles, the current cue marked; and " ?" when that is none of them.
    QString list() const
    {
        QString text;
        for (const Cue& cue : controller.cues.value())
            text += (cue.id == controller.currentCueID.value() ? u" *"_s : u" "_s) + cue.title;
        if (controller.currentCueID.value() && !controller.currentIndex())
            text += u" ?"_s;
        return text.sliced(text.isEmpty() ? 0 : 1);
    }

    /// "00:20", or "00:00 idle".
    QString time() const
    {
        const bool isIdle = engine.phase == TimerEngine::Phase::idle;
        return engine.snapshot.value().timeText + (isIdle ? u" idle"_s : QString());
    }

    void change(const std::function<void(QList<Cue>&)>& edit)
    {
        QList<Cue> cues = controller.cues;
        edit(cues);
        controller.cues = cues;
    }

    void wait(std::chrono::seconds duration)
    {
        clock.advance(duration);
        engine.tick();
    }

    /// Does what a line such as "follow on; load 0; wait 11" says.
    void play(const QString& script)
    {
        for (const QString& step : script.split(u"; "_s)) {
            const QString rest = step.section(u' ', 1);
            const qint64 number = rest.section(u' ', 0, 0).toLongLong();
            const qint64 secondNumber = rest.section(u' ', 1).toLongLong();
            const bool on = rest == u"on";
            const QHash<QString, std::function<void()>> requests {
                {u"load"_s, [&] { controller.load(number); }},
                {u"select"_s, [&] { controller.select(number); }},
                {u"next"_s, [&] { controller.next(); }},
                {u"previous"_s, [&] { controller.previous(); }},
                {u"lose"_s, [&] { controller.currentCueID = identity(9); }},
                {u"add"_s, [&] { controller.add(rest, 1); }},
                {u"remove"_s, [&] { controller.remove(number); }},
                {u"move"_s, [&] { controller.move(number, secondNumber); }},
                {u"clear"_s, [&] { controller.cues = QList<Cue>(); }},
                // Gives A other seconds, or makes B a cue with the identity of A.
                {u"seconds"_s, [&] { change([&](auto& cues) { cues[0].seconds = number; }); }},
                {u"twins"_s, [&] { change([](auto& cues) { cues[1].id = cues[0].id; }); }},
                {u"follow"_s, [&] { settings.cueFollow = on; }},
                {u"countUp"_s, [&] { settings.allowCountUp = on; }},
                {u"set"_s, [&] { engine.setSeconds = number; }},
                {u"start"_s, [&] { engine.start(TimerEngine::RunOrigin::operatorRequest); }},
                {u"clock"_s, [&] { engine.setClock(on); }},
                {u"wait"_s, [&] { wait(std::chrono::seconds(number)); }},
            };
            requests[step.section(u' ', 0, 0)]();
        }
    }
};

/// What a start of the program would find.
QList<Cue> restored(MemoryPreferences& preferences)
{
    AppSettings settings(preferences);
    TimerEngine engine(settings);
    const CueController controller(engine, settings, preferences);
    return controller.currentCueID.value() ? QList<Cue>() : controller.cues.value();
}

constexpr auto usualId = R"("00000000-0000-4000-8000-000000000004")";

QByteArray cueText(const QByteArray& id = usualId, const QByteArray& title = R"("T")",
    const QByteArray& seconds = "5")
{
    return R"({"id":)" + id + R"(,"title":)" + title + R"(,"seconds":)" + seconds + '}';
}

QByteArray fileText(const QByteArray& cues, const QByteArray& version = "1",
    const QByteArray& format = R"("TarrowCues")")
{
    return R"({"format":)" + format + R"(,"version":)" + version + R"(,"cues":)" + cues + '}';
}

} // namespace

class CueListTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void steps_data()
    {
        QTest::addColumn<QString>("list");
        QTest::addColumn<QString>("time");
        const auto row = [](const char* script, const char* list, const char* time) {
            QTest::newRow(script) << list << time;
        };
        row("set 99; start; next", "*A B C", "01:39");
        row("previous", "A B C", "00:00 idle");
        row("select 2; set 99; start; previous", "A *B C", "01:39");
        row("clear; next; previous", "", "00:00 idle");
        row("lose; next", "*A B C", "00:00 idle");
        row("clock on; load 1", "A *B C", "00:20");
        row("select 1; load -1; select -1; load 3; select 3", "A *B C", "00:00 idle");

        row("follow on; next", "*A B C", "00:10");

        row("load 0; wait 11", "*A B C", "00:00 idle");
        row("follow on; load 0; wait 11; wait 21; wait 31", "A B *C", "00:00 idle");
        row("follow on; countUp on; load 2; wait 31", "A B *C", "-00:01");
        row("follow on; select 0; set 10; start; wait 11", "*A B C", "00:00 idle");
        // The next cue is the one behind what is current at that moment.
        row("load 0; select 1; follow on; wait 11", "A B *C", "00:30");
        row("follow on; load 0; remove 0; wait 11", "B C", "00:00 idle");
        row("follow on; load 0; move 0 2; wait 11", "C B *A", "00:00 idle");
        row("twins; follow on; load 0; wait 11; wait 21", "*A *B C", "00:20");
        // A cue without time counts up and is never left.
        row("seconds 0; follow on; load 0; wait 3600", "*A B C", "60:00");
        row("seconds -5; load 0; wait 1; start; wait 2", "*A B C", "00:02");
        // Changes of the list leave the countdown alone.
        row("load 0; remove 0; wait 1", "B C", "00:09");
    }
    void steps()
    {
        QFETCH(const QString, list);
        QFETCH(const QString, time);
        Show show;
        show.play(QString::fromLatin1(QTest::currentDataTag()));
        QCOMPARE(show.list(), list);
        QCOMPARE(show.time(), time);
    }

    void edits_data()
    {
        QTest::addColumn<QString>("list");
        QTest::addColumn<int>("writes");
        const auto row = [](const char* script, const char* list, int writes) {
            QTest::newRow(script) << list << writes;
        };
        row("add  D E ", "A *B C D E", 1);
        row("add  \t ", "A *B C Cue 4", 1);
        row("remove 0", "*B C", 1);
        row("remove -1; remove 3; remove 9223372036854775807", "A *B C", 0);
        row("move 0 2", "C *B A", 1);
        row("move 0 -1; move 2 1; move -1 1; move 3 -1", "A *B C", 0);
        row("move 2 9223372036854775807; move 2 -9223372036854775808", "A *B C", 0);
        row("seconds 7; clear", "?", 2);
    }
    void edits()
    {
        QFETCH(const QString, list);
        QFETCH(const int, writes);
        Show show;
        show.play(u"select 1"_s);
        show.preferences.writes = 0;
        show.play(QString::fromLatin1(QTest::currentDataTag()));
        QCOMPARE(show.list(), list);
        QCOMPARE(restored(show.preferences), show.controller.cues.value());
        QCOMPARE(show.preferences.writes, writes);
    }

    void storesAndExportsAllThereIs()
    {
        Show show;
        show.controller.cues = QList<Cue> {{identity(1), u"Größe \"2\"\n\U0001F600"_s, 90}};
        const QJsonArray list {QJsonObject {{u"id"_s, u"00000000-0000-4000-8000-000000000001"_s},
            {u"title"_s, u"Größe \"2\"\n\U0001F600"_s}, {u"seconds"_s, 90}}};
        QCOMPARE(QJsonDocument::fromJson(show.preferences.documents[key]), QJsonDocument(list));
        const QJsonObject file {
            {u"format"_s, u"TarrowCues"_s}, {u"version"_s, 1}, {u"cues"_s, list}};
        QCOMPARE(QJsonDocument::fromJson(show.controller.exportData()), QJsonDocument(file));

        const QList<Cue> strange {{QUuid(), QString(u""_s), std::numeric_limits<qint64>::min()},
            {QUuid::createUuid(), u" "_s, std::numeric_limits<qint64>::max()},
            {QUuid(), u"Twin"_s, -1}};
        show.controller.cues = strange;
        QCOMPARE(restored(show.preferences), strange);
        QVERIFY(!show.controller.currentIndex());
        Show other;
        QVERIFY(other.controller.replaceCues(show.controller.exportData()));
        QCOMPARE(other.controller.cues.value(), strange);
        QCOMPARE(restored(other.preferences), strange);
    }

    void ignoresStoredBytesThatAreNoList()
    {
        for (const QByteArray& bytes :
            {'[' + cueText(), '[' + cueText() + ',' + cueText("1") + ']'}) {
            Show show;
            show.preferences.documents[key] = bytes;
            CueController controller(show.engine, show.settings, show.preferences);
            QCOMPARE(controller.cues.value(), QList<Cue>());
            QCOMPARE(show.preferences.documents[key], bytes);
            controller.add(u"D"_s, 1);
            QCOMPARE(restored(show.preferences), controller.cues.value());
        }
    }

    void imports_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QList<Cue>>("cues");
        const auto row = [](const char* name, const QByteArray& cues, const QList<Cue>& expected,
                             const QByteArray& version = "1") {
            QTest::newRow(name) << fileText('[' + cues + ']', version) << expected;
        };
        const Cue usual {identity(4), u"T"_s, 5};
        const QByteArray upper = "\"ABCDEFAB-CDEF-ABCD-EFAB-CDEFABCDEFAB\"";
        const QUuid letters = QUuid::fromString(u"abcdefab-cdef-abcd-efab-cdefabcdefab"_s);
        row("twins", cueText() + ',' + cueText(), {usual, usual});
        row("version 7", cueText(), {usual}, "7");
        row("unknown key in a cue", cueText().chopped(1) + R"(,"color":[]})", {usual});
        row("upper case identity", cueText(upper), {{letters, u"T"_s, 5}});
        row("identity of zeros", cueText(R"("00000000-0000-0000-0000-000000000000")"),
            {{QUuid(), u"T"_s, 5}});
    }
    void imports()
    {
        QFETCH(const QByteArray, bytes);
        QFETCH(const QList<Cue>, cues);
        Show show;
        show.play(u"select 1"_s);
        show.preferences.writes = 0;
        QVERIFY(show.controller.replaceCues(bytes));
        QCOMPARE(show.controller.cues.value(), cues);
        QVERIFY(!show.controller.currentCueID.value());
        QCOMPARE(show.preferences.writes, 1);
        QCOMPARE(restored(show.preferences), cues);
    }

    void rejects_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const QByteArray complete = fileText('[' + cueText() + ']');
        QTest::newRow("cut short") << complete.chopped(1);
        QTest::newRow("no UTF-8") << fileText('[' + cueText(usualId, "\"\xff\"") + ']');
        QTest::newRow("bare list") << '[' + cueText() + ']';
        for (const char* const name : {"format", "version", "cues", "id", "title", "seconds"}) {
            QByteArray incomplete = complete;
            incomplete.replace('"' + QByteArray(name) + '"', "\"other\"");
            QTest::addRow("no %s", name) << incomplete;
        }
        QTest::newRow("another format") << fileText("[]", "1", R"("tarrowcues")");
        QTest::newRow("version as text") << fileText("[]", R"("1")");
        QTest::newRow("an object of cues") << fileText("{}");
        const auto cue = [](const char* name, const QByteArray& text) {
            QTest::newRow(name) << fileText('[' + text + ']');
        };
        cue("null", "null");
        cue("identity in braces", cueText(R"("{00000000-0000-4000-8000-000000000004}")"));
        cue("identity with a G", cueText(R"("G0000000-0000-4000-8000-000000000004")"));
        cue("half a character", cueText(usualId, R"("\udc00")"));
        cue("half a second", cueText(usualId, R"("T")", "1.5"));
    }
    void rejects()
    {
        QFETCH(const QByteArray, bytes);
        Show show;
        show.play(u"select 1"_s);
        show.preferences.writes = 0;
        QVERIFY(!show.controller.replaceCues(bytes));
        QCOMPARE(show.list(), u"A *B C"_s);
        QCOMPARE(show.preferences.writes, 0);
    }

private:
    static inline const QString key = u"TarrowCues.v1"_s;
};

QTEST_GUILESS_MAIN(CueListTest)
#include "tst_CueList.moc"
