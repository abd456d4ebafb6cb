#pragma once

#include "StreamDeck/StreamDeckControlling.h"
#include "Views/Components/GroupBox.h"
#include "Views/Components/OneLineLabel.h"

#include <QSlider>

/// The operator's section for deck control: on and off, what is connected, and its brightness.
class StreamDeckPanel final : public GroupBox {
public:
    /// `streamDeck` must outlive the panel.
    explicit StreamDeckPanel(StreamDeckControlling& streamDeck, QWidget* parent = nullptr);

private:
    class StatusDot;

    [[nodiscard]] QWidget* makeDetails();
    [[nodiscard]] QLayout* makeStatusRow();
    [[nodiscard]] QLayout* makeBrightnessRow();

    StreamDeckControlling& m_streamDeck;
    std::vector<QPropertyNotifier> m_notifiers;
};
