#pragma once

#include "Model/CueList.h"

#include "helpers/ManualClock.h"
#include "helpers/MemoryPreferences.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QLoggingCategory>

/// A timer with its running order, as a launch makes them of what `preferences` hold.
struct Show {
    explicit Show(MemoryPreferences& stored)
        : preferences(stored)
    {
        static int argc = 0;
        static const QCoreApplication application(argc, nullptr);
        QLoggingCategory::setFilterRules(QStringLiteral("*.info=false"));
    }

    MemoryPreferences& preferences;
    AppSettings settings {preferences};
    ManualClock clock;
    TimerEngine engine {settings, clock.clock(), [](Instant) { return QStringLiteral("12:34"); }};
    CueController controller {engine, settings, preferences};
};

/// Whether the JSON says these cues, one for one.
inline bool spells(const QJsonArray& array, const QList<Cue>& cues)
{
    if (array.size() != cues.size())
        return false;
    for (qsizetype i = 0; i < cues.size(); ++i) {
        const QJsonValue json = array[i];
        if (QUuid(json[u"id"].toString()) != cues[i].id || json[u"title"] != cues[i].title
            || json[u"seconds"] != cues[i].seconds)
            return false;
    }
    return true;
}
