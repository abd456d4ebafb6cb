#pragma once

#include "Model/AppSettings.h"
#include "Model/CueList.h"
#include "Model/TimerEngine.h"
#include "StreamDeck/StreamDeckControlling.h"
#include "StreamDeck/StreamDeckHID.h"
#include "StreamDeck/StreamDeckImage.h"
#include "StreamDeck/StreamDeckRoles.h"
#include "Support/Preferences.h"

#include <QList>
#include <QTimer>

#include <memory>
#include <optional>

/// Makes a Stream Deck a control surface of the timer: gives every key its role, shows the live
/// state on the keys, and does what a pressed key is for.
///
/// Whether decks are used, and their brightness, outlive the program.
class StreamDeckManager final : public StreamDeckControlling {
public:
    /// The keys in the preferences.
    static constexpr QStringView enabledKey = u"sd.enabled";
    static constexpr QStringView brightnessKey = u"sd.brightness";

    /// All of them must outlive the manager. Looks for decks at once if it is switched on.
    StreamDeckManager(TimerEngine& engine, CueController& cues, AppSettings& settings,
        Preferences& preferences, std::unique_ptr<StreamDeckHID> hid);
    /// Leaves on the keys what they show.
    ~StreamDeckManager() override = default;

    void setEnabled(bool value) override;
    void setBrightness(qint64 percent) override;
    void rescan() override;

    /// Makes all keys black, for the end of the program: they have been written when it returns.
    void blankToBlack();

private:
    enum class Redraw { changed, all };

    void handleConnect(const StreamDeckModel& model);
    void handleDisconnect();
    void handleKeyChange(int key, bool pressed);
    void renderAll(Redraw redraw);
    void send(QImage picture, int key);
    [[nodiscard]] bool drawsKeys() const;
    void fire(const StreamDeckRole& role);
    void fire(StreamDeckRole::Plain role);

    TimerEngine& m_engine;
    CueController& m_cues;
    AppSettings& m_settings;
    Preferences& m_preferences;
    /// Known to the deck's thread, and looked at on this one.
    std::shared_ptr<bool> m_isAlive = std::make_shared<bool>(true);

    std::optional<StreamDeckModel> m_model;
    QList<StreamDeckRole> m_roles;
    /// What was sent to each key last.
    QList<StreamDeckImage::KeyFace> m_lastFaces;
    /// What they show; empty before the first.
    std::optional<StreamDeckState> m_lastState;
    QTimer m_tick;
    std::unique_ptr<StreamDeckHID> m_hid;
};
