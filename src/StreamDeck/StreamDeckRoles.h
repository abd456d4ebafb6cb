#pragma once

#include "Model/AppSettings.h"
#include "Model/CueList.h"
#include "Model/TimerEngine.h"
#include "StreamDeck/StreamDeckDevice.h"
#include "StreamDeck/StreamDeckImage.h"

#include <QList>
#include <QString>

#include <optional>
#include <variant>

/// What a key is for.
struct StreamDeckRole {
    /// Makes this the set duration.
    struct QuickSet {
        qint64 minutes;
        bool operator==(const QuickSet&) const = default;
    };

    /// Shows this text with the time.
    struct Message {
        QString text;
        bool operator==(const Message&) const = default;
    };

    enum class Plain {
        liveTime,
        go,
        pause,
        stop,
        addMinute,
        subMinute,
        cuePrev,
        cueNext,
        cueGo,
        follow,
        blackout,
        attention,
        loop,
        overtime,
        clock,
        clearMessage,
        blank,
    };

    // So that a table of roles reads as one.
    StreamDeckRole(Plain plain = Plain::blank)
        : value(plain)
    {
    }
    StreamDeckRole(QuickSet quickSet)
        : value(quickSet)
    {
    }
    StreamDeckRole(Message message)
        : value(std::move(message))
    {
    }

    bool operator==(const StreamDeckRole&) const = default;

    std::variant<QuickSet, Message, Plain> value;
};

/// The role of every key, in the operator's order. The number of keys alone decides; a deck with
/// another number than those that are known has the time on its first key and GO on its last.
[[nodiscard]] QList<StreamDeckRole> defaultRoles(const StreamDeckModel& model);

/// All that the keys show of the program's state.
struct StreamDeckState {
    static StreamDeckState of(
        const TimerEngine& engine, const AppSettings& settings, const CueController& cues);

    DisplaySnapshot snapshot = {};
    TimerEngine::Phase phase = TimerEngine::Phase::idle;
    /// The colour of the time.
    RGBColor thresholdColor = {};
    bool loop = false;
    bool allowCountUp = false;
    bool cueFollow = false;
    std::optional<qint64> currentCueIndex = {};

    bool operator==(const StreamDeckState&) const = default;
};

/// What a key of that role shows.
[[nodiscard]] StreamDeckImage::KeyFace face(
    const StreamDeckRole& role, const StreamDeckState& state);
