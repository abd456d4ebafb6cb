#include "StreamDeck/StreamDeckRoles.h"

#include "Support/Overloaded.h"

#include <QTextBoundaryFinder>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

using StreamDeckImage::KeyFace;
using Phase = TimerEngine::Phase;
using Plain = StreamDeckRole::Plain;
using QuickSet = StreamDeckRole::QuickSet;
using Message = StreamDeckRole::Message;

struct Palette {
    // clang-format off
    QColor dark   = QColor::fromRgbF(0.10F, 0.10F, 0.11F);
    QColor ink    = QColor::fromRgbF(0.06F, 0.06F, 0.07F);
    QColor red    = QColor::fromRgbF(0.95F, 0.33F, 0.33F);
    QColor green  = QColor::fromRgbF(0.30F, 0.82F, 0.45F);
    QColor blue   = QColor::fromRgbF(0.38F, 0.64F, 0.96F);
    QColor teal   = QColor::fromRgbF(0.18F, 0.83F, 0.75F);
    QColor amber  = QColor::fromRgbF(0.98F, 0.74F, 0.16F);
    QColor purple = QColor::fromRgbF(0.75F, 0.52F, 0.96F);
    QColor pink   = QColor::fromRgbF(0.99F, 0.45F, 0.62F);
    QColor slate  = QColor::fromRgbF(0.60F, 0.64F, 0.72F);
    // clang-format on
};

const Palette& pal()
{
    static const Palette palette;
    return palette;
}

struct Look {
    QString title;
    QString symbol;
};

/// The face of a key that keeps its colour, and lights up while something is so.
struct Design {
    Plain role;
    QColor accent;
    Look dark;
    Look lit = {};
    bool (*isLit)(const StreamDeckState&) = [](const StreamDeckState&) { return false; };
};

const auto& designs()
{
    using enum StreamDeckRole::Plain;
    using State = const StreamDeckState&;
    // role, colour, its look; its look while lit, and when that is
    // clang-format off
    static const std::array<Design, 15> all {{
        {go,           pal().green,  {u"GO"_s, u"play.fill"_s},
            {u"GO"_s, u"play.fill"_s}, [](State state) { return state.phase == Phase::running; }},
        {pause,        pal().purple, {u"Pause"_s, u"pause.fill"_s},
            {u"RESUME"_s, u"play.fill"_s}, [](State state) { return state.phase == Phase::paused; }},
        {stop,         pal().red,    {u"STOP"_s, u"stop.fill"_s}},
        {addMinute,    pal().slate,  {u"+1 min"_s, u"plus"_s}},
        {subMinute,    pal().slate,  {u"\u22121 min"_s, u"minus"_s}},
        {cuePrev,      pal().blue,   {u"Cue"_s, u"backward.fill"_s}},
        {cueNext,      pal().blue,   {u"Cue"_s, u"forward.fill"_s}},
        {cueGo,        pal().green,  {u"Cue GO"_s, u"play.circle.fill"_s}},
        {follow,       pal().teal,   {u"Follow"_s, u"repeat.1"_s},
            {u"FOLLOW"_s, u"repeat.1"_s}, [](State state) { return state.cueFollow; }},
        {blackout,     pal().amber,  {u"Black"_s, u"moon.fill"_s},
            {u"BLACK"_s, u"moon.fill"_s}, [](State state) { return state.snapshot.isBlackout; }},
        {attention,    pal().amber,  {u"Attn"_s, u"exclamationmark.triangle.fill"_s}},
        {loop,         pal().teal,   {u"Loop"_s, u"repeat"_s},
            {u"LOOP"_s, u"repeat"_s}, [](State state) { return state.loop; }},
        {overtime,     pal().purple, {u"Over"_s, u"arrow.up.circle"_s},
            {u"OVER"_s, u"arrow.up.circle.fill"_s}, [](State state) { return state.allowCountUp; }},
        {clock,        pal().blue,   {u"Clock"_s, u"clock"_s},
            {u"CLOCK"_s, u"clock.fill"_s}, [](State state) { return state.phase == Phase::clock; }},
        {clearMessage, pal().slate,  {u"Clr Msg"_s, u"xmark"_s}},
    }};
    // clang-format on
    return all;
}

KeyFace dark(const Look& look, const QColor& accent)
{
    return {
        .title = look.title, .systemSymbol = look.symbol, .tint = accent, .background = pal().dark};
}

KeyFace lit(const Look& look, const QColor& accent)
{
    KeyFace face = dark(look, pal().ink);
    face.background = accent;
    return face;
}

KeyFace timeFace(const StreamDeckState& state)
{
    KeyFace face {.title = state.snapshot.timeText,
        .tint = toColor(state.thresholdColor),
        .background = pal().dark,
        .largeTitle = true};
    if (state.snapshot.isBlackout) {
        face.title = u"BLACK"_s;
        face.tint = pal().amber;
    } else if (state.phase == Phase::paused) {
        face.tint = pal().purple;
    }
    return face;
}

/// A text that is longer than a key can show ends after seven characters, as a reader counts them.
QString shortened(const QString& text)
{
    constexpr int firstTooLong = 9;
    constexpr int kept = 7;
    QTextBoundaryFinder characters(QTextBoundaryFinder::Grapheme, text);
    qsizetype end = 0;
    for (int count = 1; count <= firstTooLong; ++count) {
        if (characters.toNextBoundary() < 0)
            return text;
        if (count == kept)
            end = characters.position();
    }
    return text.first(end) + u'…';
}

KeyFace messageFace(const QString& text, const StreamDeckState& state)
{
    const QString title = shortened(text);
    // Whatever message it is that is shown.
    if (state.snapshot.message)
        return lit({title, u"text.bubble.fill"_s}, pal().pink);
    return dark({title, u"text.bubble"_s}, pal().pink);
}

KeyFace plainFace(Plain role, const StreamDeckState& state)
{
    if (role == Plain::liveTime)
        return timeFace(state);
    const auto design = std::ranges::find(designs(), role, &Design::role);
    if (design == designs().end())
        return KeyFace::blank;
    KeyFace face = design->isLit(state) ? lit(design->lit, design->accent)
                                        : dark(design->dark, design->accent);
    if (role == Plain::cuePrev || role == Plain::cueNext) {
        face.reserveSubtitle = true;
        if (state.currentCueIndex)
            face.subtitle = u"cue %1"_s.arg(*state.currentCueIndex + 1);
    }
    return face;
}

} // namespace

QList<StreamDeckRole> defaultRoles(const StreamDeckModel& model)
{
    using enum StreamDeckRole::Plain;
    switch (model.keyCount) {
    // clang-format off
    case 3:
        return {cuePrev, go, cueNext};
    case 6:
        return {liveTime, stop,  blackout,
                go,       pause, cueGo};
    case 8:
        return {liveTime, cuePrev, cueNext,  stop,
                go,       pause,   blackout, attention};
    case 15:
        return {liveTime,    cuePrev,      cueNext,      cueGo,     stop,
                go,          pause,        subMinute,    addMinute, blackout,
                QuickSet {5}, QuickSet {10}, QuickSet {20}, attention, clock};
    case 32:
        return {
            liveTime, go, pause, subMinute, addMinute, blank, blank, stop,
            cuePrev, cueNext, cueGo, follow, blank, blank, blackout, clock,
            QuickSet {5}, QuickSet {10}, QuickSet {20}, QuickSet {30}, QuickSet {60}, blank, loop, overtime,
            attention, Message {u"PLEASE WRAP UP"_s}, Message {u"5 MINUTES"_s}, Message {u"STARTING SOON"_s},
                blank, blank, blank, clearMessage};
    // clang-format on
    default:
        break;
    }
    QList<StreamDeckRole> roles(std::max(0, model.keyCount));
    if (!roles.isEmpty()) {
        roles.front() = liveTime;
        roles.back() = go;
    }
    return roles;
}

StreamDeckState StreamDeckState::of(
    const TimerEngine& engine, const AppSettings& settings, const CueController& cues)
{
    const DisplaySnapshot& snapshot = engine.snapshot.value();
    return {
        .snapshot = snapshot,
        .phase = engine.phase,
        .thresholdColor = color(snapshot.threshold, settings),
        .loop = engine.loop,
        .allowCountUp = settings.allowCountUp,
        .cueFollow = settings.cueFollow,
        .currentCueIndex = cues.currentIndex(),
    };
}

KeyFace face(const StreamDeckRole& role, const StreamDeckState& state)
{
    return std::visit(
        Overloaded {
            [](const QuickSet& quickSet) {
                return dark({u"%1 min"_s.arg(quickSet.minutes), u"timer"_s}, pal().slate);
            },
            [&](const Message& message) { return messageFace(message.text, state); },
            [&](Plain plain) { return plainFace(plain, state); },
        },
        role.value);
}
