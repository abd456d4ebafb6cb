// Datagrams, one after the other, from their bytes to what the timer does. The first byte is the
// settings and how fast time goes; 0xff, which is in no UTF-8, ends a datagram.

#include "Fuzzing.h"
#include "Show.h"
#include "ThrowingTrap.h"

#include "Net/CommandDispatcher.h"
#include "Support/Overloaded.h"
#include "Support/Utf8.h"

#include <algorithm>
#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

using Action = Command::Action;

bool fits(double minutes)
{
    return std::abs(std::round(minutes * 60)) < 0x1p63;
}

/// The commands that stop the process.
bool isFatal(const Command& command)
{
    return std::visit(Overloaded {
                          [](const Command::Set& set) { return !fits(set.minutes); },
                          [](const Command::Go& go) { return !fits(go.minutes); },
                          [](const Command::Cue& cue) {
                              return cue.number == std::numeric_limits<qint64>::min();
                          },
                          [](const auto&) { return false; },
                      },
        command.operation);
}

/// NaN, which differs from itself, has the same description.
bool same(const std::optional<Command>& a, const std::optional<Command>& b)
{
    return a && b ? a->description() == b->description() : !a && !b;
}

void checkParsing(const QString& text, const std::optional<Command>& command)
{
    require(same(Command::parse(u"\t\u00a0"_s + text + u"\r\n"_s), command), "the margin counts");
    if (!command)
        return;
    const bool isOneLine = std::ranges::none_of(command->description(), [](QChar c) {
        return c.unicode() < u' ' || c == QChar::LineSeparator || c == QChar::ParagraphSeparator;
    });
    require(isOneLine, "a description that breaks the log");
}

void checkEngine(const Show& show)
{
    const TimerEngine& engine = show.engine;
    require(engine.setSeconds >= 0, "a negative duration");
    require(engine.remaining() >= 0 || engine.pureCountUp || show.settings.allowCountUp,
        "ran past zero");
    const auto& message = engine.snapshot.value().message;
    require(!message || !message->isEmpty(), "an empty message on air");
}

/// False when the command stopped the process.
bool carryOut(const Command& command, Show& show)
{
    CommandDispatcher dispatcher(show.engine);
    dispatcher.cues = &show.controller;
    const DisplaySnapshot shown = show.engine.snapshot;
    const qint64 remaining = show.engine.remaining();
    try {
        dispatcher.dispatch(command);
    } catch (const Trapped&) {
        require(isFatal(command), "stopped without a reason");
        return false;
    }
    require(!isFatal(command), "carried out what has no meaning");
    require(!std::holds_alternative<Command::Set>(command.operation)
            || show.engine.snapshot.value() == shown,
        "set shows");
    require(command != Command {Action::subtractMinute} || show.engine.remaining() == remaining
            || show.engine.remaining() > 0,
        "a minute less crossed zero");
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    MemoryPreferences preferences;
    Show show(preferences);
    show.settings.cueFollow = (data[0] & 1) != 0;
    show.settings.allowCountUp = (data[0] & 2) != 0;
    show.engine.loop = (data[0] & 4) != 0;
    for (const double minutes : {0.1, 0.0, 90.0})
        show.controller.add({}, minutes);

    for (const QByteArray& datagram : byteArray(data + 1, size - 1).split('\xff')) {
        const std::optional<QString> text = decodeUtf8(datagram);
        if (!text)
            continue;
        const std::optional<Command> command = Command::parse(*text);
        checkParsing(*text, command);
        if (command && !carryOut(*command, show))
            return 0;
        checkEngine(show);
        show.clock.advance(std::chrono::seconds(data[0] >> 3));
        show.engine.tick();
        checkEngine(show);
    }
    return 0;
}
