// The running order as the preferences hold it: read at launch, run through from its first cue to
// its last, changed, and read again.

#include "Fuzzing.h"
#include "Show.h"

#include <QJsonDocument>

#include <algorithm>

namespace {

using namespace std::chrono_literals;

void runThrough(Show& show)
{
    const QList<Cue> cues = show.controller.cues;
    show.settings.cueFollow = true;
    for (qsizetype i = 0; i < cues.size(); ++i) {
        show.controller.load(i);
        require(show.engine.phase == TimerEngine::Phase::running, "a cue that does not start");
        require(show.engine.remaining() == std::max<qint64>(0, cues[i].seconds), "wrong duration");

        // The first of those with the same identity is the current one.
        const qint64 next = show.controller.currentIndex().value_or(cues.size()) + 1;
        const bool finishes = show.engine.setSeconds > 0 && show.engine.setSeconds < 3600;
        show.clock.advance(1h);
        show.engine.tick();
        if (!finishes)
            continue;
        if (next < cues.size()) {
            require(show.controller.currentCueID.value() == cues[next].id, "no cue followed");
        } else {
            require(show.engine.phase == TimerEngine::Phase::idle, "the last did not end");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = byteArray(data, size);
    MemoryPreferences preferences;
    preferences.documents[CueController::defaultsKey] = bytes;
    Show show(preferences);
    require(preferences.writes == 0, "reading wrote");
    const QList<Cue> cues = show.controller.cues;
    require(cues.isEmpty() || spells(QJsonDocument::fromJson(bytes).array(), cues),
        "other cues than stored");
    runThrough(show);
    require(show.controller.cues.value() == cues, "running changed the list");

    show.controller.add({}, 1);
    const Show restarted(preferences);
    require(restarted.controller.cues.value() == show.controller.cues.value(),
        "not read back as written");
    return 0;
}
