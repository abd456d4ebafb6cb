#include "StreamDeck/StreamDeckRoles.h"

#include "helpers/EngineRig.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

using StreamDeckImage::KeyFace;
using Phase = TimerEngine::Phase;

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

/// "title subtitle [symbol] tint on background".
QString described(const KeyFace& face)
{
    QString text = face.title + u' ' + face.subtitle;
    text = u"%1 [%2] %3 on %4"_s.arg(text.trimmed(), face.systemSymbol.value_or(QString()),
        face.tint.name(), face.background.name());
    text += face.largeTitle ? u", large"_s : u""_s;
    return text + (face.reserveSubtitle ? u", room below"_s : u""_s);
}

} // namespace

class StreamDeckRolesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void laysOutTheKeys()
    {
        const auto keys = [](int keyCount) {
            StreamDeckModel model;
            model.keyCount = keyCount;
            QStringList labels;
            for (const StreamDeckRole& role : defaultRoles(model))
                labels.push_back(label(role));
            return labels.join(u'|');
        };
        QCOMPARE(keys(3), u"backward.fill|GO|forward.fill"_s);
        QCOMPARE(keys(6), u"00:00|STOP|Black|GO|Pause|Cue GO"_s);
        QCOMPARE(keys(8), u"00:00|backward.fill|forward.fill|STOP|GO|Pause|Black|Attn"_s);
        QCOMPARE(keys(15),
            u"00:00|backward.fill|forward.fill|Cue GO|STOP|"
            "GO|Pause|−1 min|+1 min|Black|"
            "5 min|10 min|20 min|Attn|Clock"_s);
        QCOMPARE(keys(32),
            u"00:00|GO|Pause|−1 min|+1 min|-|-|STOP|"
            "backward.fill|forward.fill|Cue GO|Follow|-|-|Black|Clock|"
            "5 min|10 min|20 min|30 min|60 min|-|Loop|Over|"
            "Attn|PLEASE …|5 MINUT…|STARTIN…|-|-|-|Clr Msg"_s);
    }

    void drawsFaces_data()
    {
        QTest::addColumn<StreamDeckRole>("role");
        QTest::addColumn<StreamDeckState>("state");

        const auto row = [](const char* face, const StreamDeckRole& role,
                             const StreamDeckState& state) {
            QTest::newRow(face) << role << state;
        };
        using enum StreamDeckRole::Plain;
        const StreamDeckRole wrapUp(StreamDeckRole::Message {u"Wrap up"_s});
        const StreamDeckState onAir {.snapshot = {.message = u"Something else"_s}};
        const StreamDeckState black = showing({.timeText = u"04:11"_s, .isBlackout = true});
        const DisplaySnapshot time {.timeText = u"04:11"_s};
        row("GO [play.fill] #4dd173 on #1a1a1c", go, {.phase = Phase::paused});
        row("GO [play.fill] #0f0f12 on #4dd173", go, {.phase = Phase::running});
        row("RESUME [play.fill] #0f0f12 on #bf85f5", pause, {.phase = Phase::paused});
        row("FOLLOW [repeat.1] #0f0f12 on #2ed4bf", follow, {.cueFollow = true});
        row("BLACK [moon.fill] #0f0f12 on #fabd29", blackout, black);
        row("LOOP [repeat] #0f0f12 on #2ed4bf", loop, {.loop = true});
        row("OVER [arrow.up.circle.fill] #0f0f12 on #bf85f5", overtime, {.allowCountUp = true});
        row("CLOCK [clock.fill] #0f0f12 on #61a3f5", StreamDeckRole::Plain::clock,
            {.phase = Phase::clock});
        row("Wrap up [text.bubble] #fc739e on #1a1a1c", wrapUp, idle);
        row("Wrap up [text.bubble.fill] #0f0f12 on #fc739e", wrapUp, onAir);
        row("04:11 [] #ff8000 on #1a1a1c, large", liveTime, showing(time));
        row("04:11 [] #bf85f5 on #1a1a1c, large", liveTime, showing(time, Phase::paused));
        row("BLACK [] #fabd29 on #1a1a1c, large", liveTime, black);
        row("Cue [backward.fill] #61a3f5 on #1a1a1c, room below", cuePrev, idle);
        row("Cue cue 3 [forward.fill] #61a3f5 on #1a1a1c, room below", cueNext,
            {.currentCueIndex = 2});
    }
    void drawsFaces()
    {
        QFETCH(StreamDeckRole, role);
        QFETCH(StreamDeckState, state);
        QCOMPARE(described(face(role, state)), QString::fromLatin1(QTest::currentDataTag()));
    }

    void shortensMessages()
    {
        for (const auto& [text, expected] : {
                 std::pair(u"12345678"_s, u"12345678"_s),
                 std::pair(u"123456789"_s, u"1234567…"_s),
                 std::pair(u"😀"_s.repeated(8), u"😀"_s.repeated(8)),
                 std::pair(u"e\u0301"_s.repeated(9), u"e\u0301"_s.repeated(7) + u'…'),
                 std::pair(u""_s, u""_s),
             })
            QCOMPARE(face(StreamDeckRole::Message {text}, idle).title, expected);
    }

    void readsTheProgramsState()
    {
        EngineRig rig;
        CueController cues(rig.engine, rig.settings, rig.preferences);
        QCOMPARE(StreamDeckState::of(rig.engine, rig.settings, cues).currentCueIndex, std::nullopt);

        rig.settings.allowCountUp = true;
        rig.settings.cueFollow = true;
        rig.settings.redColor = {.r = 0.25, .g = 0.5, .b = 0.75};
        rig.engine.loop = true;
        rig.engine.setMessage(u"Doors open"_s);
        cues.add(u"One"_s, 5);
        cues.add(u"Two"_s, 0.5);
        cues.select(1);

        const StreamDeckState state = StreamDeckState::of(rig.engine, rig.settings, cues);
        QVERIFY(state.snapshot == rig.engine.snapshot.value());
        QVERIFY(state.phase == Phase::running);
        QVERIFY(state.thresholdColor == rig.settings.redColor.value());
        QVERIFY(state.loop && state.allowCountUp && state.cueFollow);
        QCOMPARE(state.currentCueIndex, 1);
    }
};

QTEST_MAIN(StreamDeckRolesTest)
#include "tst_StreamDeckRoles.moc"
