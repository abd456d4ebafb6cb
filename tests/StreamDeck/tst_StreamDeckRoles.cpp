#include "StreamDeck/StreamDeckRoles.h"

#include "helpers/MemoryPreferences.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

using StreamDeckImage::KeyFace;
using Phase = TimerEngine::Phase;
using Plain = StreamDeckRole::Plain;

const QColor darkGrey = QColor::fromRgbF(0.10F, 0.10F, 0.11F);
const QColor ink = QColor::fromRgbF(0.06F, 0.06F, 0.07F);
const QColor red = QColor::fromRgbF(0.95F, 0.33F, 0.33F);
const QColor green = QColor::fromRgbF(0.30F, 0.82F, 0.45F);
const QColor blue = QColor::fromRgbF(0.38F, 0.64F, 0.96F);
const QColor teal = QColor::fromRgbF(0.18F, 0.83F, 0.75F);
const QColor amber = QColor::fromRgbF(0.98F, 0.74F, 0.16F);
const QColor purple = QColor::fromRgbF(0.75F, 0.52F, 0.96F);
const QColor pink = QColor::fromRgbF(0.99F, 0.45F, 0.62F);
const QColor slate = QColor::fromRgbF(0.60F, 0.64F, 0.72F);
const QColor orange = QColor::fromRgbF(1, 0.5F, 0);

const StreamDeckState idle;

StreamDeckState showing(const DisplaySnapshot& snapshot, Phase phase = Phase::running)
{
    return {.snapshot = snapshot, .phase = phase, .thresholdColor = {.r = 1, .g = 0.5, .b = 0}};
}

/// The key in a few characters: what it reads, or its symbol where two read alike.
QString label(const StreamDeckRole& role)
{
    const KeyFace shown = face(role, idle);
    if (shown == KeyFace::blank)
        return u"-"_s;
    return shown.title == u"Cue" ? *shown.systemSymbol : shown.title;
}

} // namespace

class StreamDeckRolesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void laysOutTheKeys_data();
    void laysOutTheKeys();
    void drawsFaces_data();
    void drawsFaces();
    void shortensMessages();
    void readsTheProgramsState();
};

void StreamDeckRolesTest::laysOutTheKeys_data()
{
    QTest::addColumn<int>("keyCount");
    QTest::addColumn<QString>("expected");

    const auto row = [](int keyCount, const char* keys) {
        QTest::addRow("%d", keyCount) << keyCount << QString::fromUtf8(keys);
    };
    row(0, "");
    row(1, "GO");
    row(3, "backward.fill|GO|forward.fill");
    row(4, "00:00|-|-|GO");
    row(6, "00:00|STOP|Black|GO|Pause|Cue GO");
    row(8, "00:00|backward.fill|forward.fill|STOP|GO|Pause|Black|Attn");
    row(15,
        "00:00|backward.fill|forward.fill|Cue GO|STOP|"
        "GO|Pause|−1 min|+1 min|Black|"
        "5 min|10 min|20 min|Attn|Clock");
    row(32,
        "00:00|GO|Pause|−1 min|+1 min|-|-|STOP|"
        "backward.fill|forward.fill|Cue GO|Follow|-|-|Black|Clock|"
        "5 min|10 min|20 min|30 min|60 min|-|Loop|Over|"
        "Attn|PLEASE …|5 MINUT…|STARTIN…|-|-|-|Clr Msg");
}

void StreamDeckRolesTest::laysOutTheKeys()
{
    QFETCH(int, keyCount);
    QFETCH(QString, expected);

    StreamDeckModel model;
    model.keyCount = keyCount;
    QStringList labels;
    for (const StreamDeckRole& role : defaultRoles(model))
        labels.push_back(label(role));
    QCOMPARE(labels.join(u'|'), expected);
}

void StreamDeckRolesTest::drawsFaces_data()
{
    QTest::addColumn<StreamDeckRole>("role");
    QTest::addColumn<StreamDeckState>("state");
    QTest::addColumn<KeyFace>("expected");

    const auto row = [](const char* name, const StreamDeckRole& role, const StreamDeckState& state,
                         const QString& title, const char* symbol, const QColor& tint,
                         const QColor& background) {
        QTest::newRow(name) << role << state
                            << KeyFace {.title = title,
                                   .systemSymbol = QString::fromLatin1(symbol),
                                   .tint = tint,
                                   .background = background};
    };
    using enum StreamDeckRole::Plain;
    const DisplaySnapshot black {.timeText = u"04:11"_s, .isBlackout = true};
    const DisplaySnapshot onAir {.message = u"Something else"_s};
    // clang-format off
    row("go",            go, idle,               u"GO"_s, "play.fill", green, darkGrey);
    row("go, paused",    go, {.phase = Phase::paused},  u"GO"_s, "play.fill", green, darkGrey);
    row("go, running",   go, {.phase = Phase::running}, u"GO"_s, "play.fill", ink, green);
    row("pause",         pause, {.phase = Phase::running}, u"Pause"_s, "pause.fill", purple, darkGrey);
    row("pause, paused", pause, {.phase = Phase::paused}, u"RESUME"_s, "play.fill", ink, purple);
    row("stop",          stop, {.phase = Phase::running}, u"STOP"_s, "stop.fill", red, darkGrey);
    row("addMinute",     addMinute, idle, u"+1 min"_s, "plus", slate, darkGrey);
    row("subMinute",     subMinute, idle, u"\u22121 min"_s, "minus", slate, darkGrey);
    row("cueGo",         cueGo, {.currentCueIndex = 1}, u"Cue GO"_s, "play.circle.fill", green, darkGrey);
    row("follow",        follow, idle, u"Follow"_s, "repeat.1", teal, darkGrey);
    row("follow, on",    follow, {.cueFollow = true}, u"FOLLOW"_s, "repeat.1", ink, teal);
    row("blackout",      blackout, idle, u"Black"_s, "moon.fill", amber, darkGrey);
    row("blackout, on",  blackout, showing(black), u"BLACK"_s, "moon.fill", ink, amber);
    row("attention",     attention, idle, u"Attn"_s, "exclamationmark.triangle.fill", amber, darkGrey);
    row("loop",          loop, idle, u"Loop"_s, "repeat", teal, darkGrey);
    row("loop, on",      loop, {.loop = true}, u"LOOP"_s, "repeat", ink, teal);
    row("overtime",      overtime, idle, u"Over"_s, "arrow.up.circle", purple, darkGrey);
    row("overtime, on",  overtime, {.allowCountUp = true}, u"OVER"_s, "arrow.up.circle.fill", ink, purple);
    row("clock",         Plain::clock, idle, u"Clock"_s, "clock", blue, darkGrey);
    row("clock, on",     Plain::clock, {.phase = Phase::clock}, u"CLOCK"_s, "clock.fill", ink, blue);
    row("clearMessage",  clearMessage, showing(onAir), u"Clr Msg"_s, "xmark", slate, darkGrey);
    row("quickSet",      StreamDeckRole::QuickSet {90}, idle, u"90 min"_s, "timer", slate, darkGrey);
    row("message",       StreamDeckRole::Message {u"Wrap up"_s}, idle, u"Wrap up"_s, "text.bubble", pink, darkGrey);
    row("message, any on air", StreamDeckRole::Message {u"Wrap up"_s}, showing(onAir), u"Wrap up"_s, "text.bubble.fill", ink, pink);
    // clang-format on

    const auto time = [](const char* name, const StreamDeckState& state, const QString& title,
                          const QColor& tint) {
        QTest::newRow(name) << StreamDeckRole(liveTime) << state
                            << KeyFace {.title = title,
                                   .tint = tint,
                                   .background = darkGrey,
                                   .largeTitle = true};
    };
    const DisplaySnapshot snapshot {.timeText = u"04:11"_s};
    time("time", showing(snapshot), u"04:11"_s, orange);
    time("time, clock", showing(snapshot, Phase::clock), u"04:11"_s, orange);
    time("time, paused", showing(snapshot, Phase::paused), u"04:11"_s, purple);
    time("time, blackout", showing(black, Phase::paused), u"BLACK"_s, amber);

    const auto cue = [](const char* name, Plain role, const StreamDeckState& state,
                         const QString& symbol, const QString& subtitle) {
        QTest::newRow(name) << StreamDeckRole(role) << state
                            << KeyFace {.title = u"Cue"_s,
                                   .subtitle = subtitle,
                                   .systemSymbol = symbol,
                                   .tint = blue,
                                   .background = darkGrey,
                                   .reserveSubtitle = true};
    };
    cue("cuePrev", cuePrev, idle, u"backward.fill"_s, {});
    cue("cuePrev, first cue", cuePrev, {.currentCueIndex = 0}, u"backward.fill"_s, u"cue 1"_s);
    cue("cueNext, third cue", cueNext, {.currentCueIndex = 2}, u"forward.fill"_s, u"cue 3"_s);
}

void StreamDeckRolesTest::drawsFaces()
{
    QFETCH(StreamDeckRole, role);
    QFETCH(StreamDeckState, state);
    QFETCH(KeyFace, expected);

    const KeyFace shown = face(role, state);
    QCOMPARE(shown.title, expected.title);
    QVERIFY(shown == expected);
}

void StreamDeckRolesTest::shortensMessages()
{
    for (const auto& [text, expected] : {
             std::pair(u"12345678"_s, u"12345678"_s),
             std::pair(u"123456789"_s, u"1234567…"_s),
             std::pair(u"PLEASE WRAP UP"_s, u"PLEASE …"_s),
             std::pair(u"😀"_s.repeated(8), u"😀"_s.repeated(8)),
             std::pair(u"e\u0301"_s.repeated(9), u"e\u0301"_s.repeated(7) + u'…'),
             std::pair(u""_s, u""_s),
         })
        QCOMPARE(face(StreamDeckRole::Message {text}, idle).title, expected);
}

void StreamDeckRolesTest::readsTheProgramsState()
{
    MemoryPreferences preferences;
    AppSettings settings(preferences);
    TimerEngine engine(settings);
    CueController cues(engine, settings, preferences);
    QCOMPARE(StreamDeckState::of(engine, settings, cues).currentCueIndex, std::nullopt);

    settings.allowCountUp = true;
    settings.cueFollow = true;
    settings.redColor = {.r = 0.25, .g = 0.5, .b = 0.75};
    engine.loop = true;
    engine.setMessage(u"Doors open"_s);
    cues.add(u"One"_s, 5);
    cues.add(u"Two"_s, 0.5);
    cues.select(1);

    const StreamDeckState state = StreamDeckState::of(engine, settings, cues);
    QVERIFY(state.snapshot == engine.snapshot.value());
    QCOMPARE(state.snapshot.timeText, u"00:30"_s);
    QVERIFY(state.phase == Phase::running);
    QVERIFY(state.thresholdColor == settings.redColor.value());
    QVERIFY(state.loop && state.allowCountUp && state.cueFollow);
    QCOMPARE(state.currentCueIndex, 1);
}

QTEST_MAIN(StreamDeckRolesTest)
#include "tst_StreamDeckRoles.moc"
