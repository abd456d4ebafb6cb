#include "StreamDeck/StreamDeckKeys.h"

#include <utility>

StreamDeckKeys::StreamDeckKeys(StreamDeckModel model)
    : m_model(std::move(model))
    , m_lastStates(m_model.keyCount, false)
{
}

int StreamDeckKeys::headerLength(const StreamDeckModel& model)
{
    return model.generation == StreamDeckModel::Generation::gen2 ? 4 : 1;
}

QList<StreamDeckKeys::Change> StreamDeckKeys::changes(QByteArrayView report)
{
    // A device with dials says in this byte what the report is about.
    constexpr qsizetype eventKind = 1;
    const int header = headerLength(m_model);
    if (report.size() < header + m_model.keyCount)
        return {};
    if (m_model.dials > 0 && report[eventKind] != 0)
        return {};

    QList<Change> changes;
    for (int key = 0; key < m_model.keyCount; ++key) {
        const bool pressed = report[header + key] != 0;
        if (std::exchange(m_lastStates[key], pressed) != pressed)
            changes.append({m_model.mirroredKey(key), pressed});
    }
    return changes;
}
