// A file that an operator imports as the running order, and the file that is saved of it.

#include "Fuzzing.h"
#include "Show.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    MemoryPreferences preferences;
    Show show(preferences);
    show.controller.add(u"Doors"_s, 5);
    show.controller.load(0);
    const QList<Cue> before = show.controller.cues;
    preferences.writes = 0;

    const QByteArray bytes = byteArray(data, size);
    if (!show.controller.replaceCues(bytes)) {
        require(show.controller.cues.value() == before && show.controller.currentIndex() == 0
                && preferences.writes == 0,
            "a refused file changed something");
        return 0;
    }
    const QJsonObject file = QJsonDocument::fromJson(bytes).object();
    require(
        file[u"format"] == u"TarrowCues"_s && file[u"version"].isDouble(), "took a foreign file");
    require(spells(file[u"cues"].toArray(), show.controller.cues), "other cues than in the file");
    require(!show.controller.currentCueID.value(), "kept a current cue");
    require(show.engine.remaining() == 300, "touched the countdown");

    const Show restarted(preferences);
    require(restarted.controller.cues.value() == show.controller.cues.value(), "not stored");

    MemoryPreferences otherPreferences;
    Show other(otherPreferences);
    require(other.controller.replaceCues(show.controller.exportData()), "refused its own file");
    require(other.controller.cues.value() == show.controller.cues.value(), "saved other cues");
    return 0;
}
