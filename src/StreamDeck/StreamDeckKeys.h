#pragma once

#include "StreamDeck/StreamDeckDevice.h"

#include <QByteArrayView>
#include <QList>

/// Which keys of a deck are down, by what it reports.
class StreamDeckKeys {
public:
    explicit StreamDeckKeys(StreamDeckModel model);

    struct Change {
        /// Counted from the top left key, row by row.
        int key;
        bool pressed;

        bool operator==(const Change&) const = default;
    };

    /// Takes an input report, the report's number included, and gives the keys that have gone down
    /// or up since the last one, in the device's order. A report that is too short, or that tells
    /// of something else than keys, changes nothing.
    [[nodiscard]] QList<Change> changes(QByteArrayView report);

    /// How many bytes of a report come before the keys.
    [[nodiscard]] static int headerLength(const StreamDeckModel& model);

private:
    StreamDeckModel m_model;
    /// In the device's order.
    QList<bool> m_lastStates;
};
