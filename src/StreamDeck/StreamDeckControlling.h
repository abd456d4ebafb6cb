#pragma once

#include <QProperty>
#include <QString>

#include <optional>

/// Deck control as the operator's panel sees it: what it shows, and what it may ask for.
class StreamDeckControlling {
public:
    StreamDeckControlling() = default;
    StreamDeckControlling(const StreamDeckControlling&) = delete;
    StreamDeckControlling& operator=(const StreamDeckControlling&) = delete;
    virtual ~StreamDeckControlling() = default;

    QProperty<bool> enabled {false};
    /// In percent.
    QProperty<qint64> brightness {70};
    /// Nothing while no deck is connected.
    QProperty<std::optional<QString>> connectedModelName;
    /// A hint or an error for the operator; empty when there is nothing to say.
    QProperty<QString> statusMessage;

    virtual void setEnabled(bool value) = 0;
    /// Clamps to 5 … 100 and passes it to the deck.
    virtual void setBrightness(qint64 percent) = 0;
    /// Clears the hint and looks for decks anew; switches deck control on where it is off.
    virtual void rescan() = 0;
};
