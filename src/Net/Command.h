#pragma once

#include <QString>

#include <optional>
#include <variant>

/// One remote-control operation, as a line of text names it.
struct Command {
    /// Make this the set duration without starting. Minutes are kept as they were received:
    /// fractions, negatives, infinities and NaN included.
    struct Set {
        double minutes;
        bool operator==(const Set&) const = default;
    };

    /// Make this the set duration and start counting down.
    struct Go {
        double minutes;
        bool operator==(const Go&) const = default;
    };

    /// Show this text with the time. It may be empty.
    struct Message {
        QString text;
        bool operator==(const Message&) const = default;
    };

    /// Load and start a cue of the running order.
    struct Cue {
        /// 1 is the first cue; any number may come in.
        qint64 number;
        bool operator==(const Cue&) const = default;
    };

    enum class Action {
        start,
        stop,
        toggleClock,
        toggleBlackout,
        pause,
        strobe,
        addMinute,
        subtractMinute,
        clearMessage,
        reset,
        nextCue,
        prevCue,
    };

    std::variant<Set, Go, Message, Cue, Action> operation;

    /// The command that one line of text spells, or nothing. Keywords are found in any letter
    /// case; docs/udp-commands.md is the list.
    [[nodiscard]] static std::optional<Command> parse(QStringView text);

    /// How the log writes it: stop, cue(3), go(minutes: 2.5), message("Doors open").
    [[nodiscard]] QString description() const;

    bool operator==(const Command&) const = default;
};
