#pragma once

#include "Model/CueControlling.h"
#include "Model/TimerEngine.h"
#include "Support/Preferences.h"
#include "Support/StrictJson.h"

#include <QList>
#include <QProperty>
#include <QUuid>

#include <optional>

/// One entry of the running order.
struct Cue {
    QUuid id;
    QString title;
    qint64 seconds = 0;

    bool operator==(const Cue&) const = default;
};

/// An object with the keys "id" (the 36 characters of a UUID, letters in either case), "title"
/// and "seconds", all of them required.
template <> struct JsonForm<Cue> {
    static QJsonValue encode(const Cue& cue);
    static std::optional<Cue> decode(const QJsonValue& json);
};

/// The running order, and which of its cues is current (on deck).
///
/// With follow mode on (`AppSettings::cueFollow`) stepping to a cue starts it, and when a
/// countdown that was started from a cue finishes, the next cue starts by itself. Positions are
/// 0-based; those outside the list are ignored.
///
/// Every change of the list is stored at once and read back when the object is made. Which cue
/// is current is not stored.
class CueController final : public CueControlling {
public:
    /// The key of the stored list in the preferences.
    static inline const QString defaultsKey = QStringLiteral("TarrowCues.v1");

    /// All three must outlive the controller, which becomes the engine's auto-advance handler.
    CueController(TimerEngine& engine, AppSettings& settings, Preferences& preferences);

    /// In show order. Assigning a list stores it.
    QProperty<QList<Cue>> cues;
    QProperty<std::optional<QUuid>> currentCueID;

    /// The first cue that carries the current cue's identity.
    [[nodiscard]] std::optional<qint64> currentIndex() const;

    /// Appends a cue. A blank title becomes "Cue N", negative minutes become 0.
    void add(const QString& title, double minutes);
    void remove(qint64 index);
    /// Exchanges the cues at `index` and `index + offset`.
    void move(qint64 index, qint64 offset);
    /// Makes a cue current; in follow mode also starts it.
    void select(qint64 index);

    void load(qint64 index) override;
    void next() override;
    void previous() override;

    /// The running order as a cue document (see CueFile in the source).
    [[nodiscard]] QByteArray exportData() const;
    /// Replaces the running order with the one of a cue document. Bytes that are no such document
    /// change nothing and give false.
    bool replaceCues(const QByteArray& bytes);

private:
    [[nodiscard]] bool isValid(qint64 index) const;
    [[nodiscard]] bool autoAdvance();
    void load();
    void save();

    TimerEngine& m_engine;
    AppSettings& m_settings;
    Preferences& m_preferences;
    bool m_suppressSave = true;
    QPropertyNotifier m_saveNotifier;
};
