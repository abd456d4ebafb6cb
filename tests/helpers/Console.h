#pragma once

#include "Views/ControlPanelView.h"

#include "helpers/FakeDisplays.h"
#include "helpers/ManualClock.h"
#include "helpers/MemoryPreferences.h"

#include <QAbstractButton>
#include <QLineEdit>

#include <algorithm>
#include <optional>

/// Deck control that only remembers.
class FakeDeck final : public StreamDeckControlling {
public:
    int rescans = 0;

    void setEnabled(bool value) override { enabled = value; }
    void setBrightness(qint64 percent) override { brightness = percent; }
    void rescan() override { ++rescans; }
};

/// All that an operator's console shows and edits.
struct Console {
    ManualClock clock;
    MemoryPreferences preferences;
    AppSettings settings {preferences};
    TimerEngine engine {settings, clock.clock()};
    CueController cues {engine, settings, preferences};
    MessageAnimator animator {engine, clock.clock()};
    /// The router's, and as long-lived.
    FakeDisplays* displays = nullptr;
    std::optional<OutputRouter> router;
    FakeDeck deck;

    Console()
    {
        auto list = std::make_unique<FakeDisplays>();
        displays = list.get();
        router.emplace(settings, std::move(list),
            [](const ConnectedDisplay&) { return std::make_unique<NoSurface>(); });
    }

    [[nodiscard]] ControlPanelView::Models models()
    {
        return {engine, settings, cues, *router, deck, animator};
    }

private:
    class NoSurface final : public OutputSurface {
    public:
        void cover(const ConnectedDisplay&) override { }
    };
};

/// The visible button that reads like this, or is called so. Stops the test when there is none.
inline QAbstractButton& buttonCalled(const QWidget& parent, const QString& name)
{
    const auto buttons = parent.findChildren<QAbstractButton*>();
    const auto button = std::ranges::find_if(buttons, [&](const QAbstractButton* candidate) {
        return !candidate->isHidden() && candidate->isVisibleTo(&parent)
            && (candidate->text() == name || candidate->accessibleName() == name);
    });
    if (button == buttons.end())
        qFatal("there is no button %s", qUtf8Printable(name));
    return **button;
}

inline QLineEdit& fieldWithPlaceholder(const QWidget& parent, const QString& placeholder)
{
    const auto fields = parent.findChildren<QLineEdit*>();
    return **std::ranges::find(fields, placeholder, &QLineEdit::placeholderText);
}
