#pragma once

#include "Model/RGBColor.h"
#include "Support/Preferences.h"

#include <QByteArray>
#include <QProperty>

#include <set>
#include <vector>

/// Everything the operator prefers: one observable property per preference.
///
/// Every change is stored at once, as one JSON document with all properties, and the document is
/// read back when the object is made. A document that is not complete and well typed is ignored
/// as a whole. Values are kept as they are given; what makes sense as a port, a size or a
/// threshold is the business of those who edit and those who use them.
class AppSettings {
public:
    /// The key of the document in the preferences.
    static inline const QString defaultsKey = QStringLiteral("TarrowSettings.v1");

    /// Loads what `preferences`, which must outlive the object, has stored.
    explicit AppSettings(Preferences& preferences);
    AppSettings(const AppSettings&) = delete;
    AppSettings& operator=(const AppSettings&) = delete;
    ~AppSettings() = default;

    QProperty<RGBColor> textColor {{.r = 1, .g = 1, .b = 1}};
    QProperty<RGBColor> backgroundColor {{.r = 0, .g = 0, .b = 0}};
    QProperty<RGBColor> amberColor {{.r = 1, .g = 176.0 / 255, .b = 0}};
    /// Also the colour of overtime.
    QProperty<RGBColor> redColor {{.r = 1, .g = 59.0 / 255, .b = 48.0 / 255}};

    QProperty<bool> useThresholdColors {true};
    /// At or below this many seconds left the time is amber, or red. Any order of the two works.
    QProperty<qint64> amberThresholdSeconds {300};
    QProperty<qint64> redThresholdSeconds {60};

    /// After zero, go on into overtime instead of stopping.
    QProperty<bool> allowCountUp {false};
    QProperty<bool> playFinishSound {false};
    /// When a cue's countdown finishes, the next cue starts.
    QProperty<bool> cueFollow {false};
    QProperty<bool> autoCheckUpdates {true};

    /// Ports are read once, at launch.
    QProperty<qint64> udpPort {6969};
    QProperty<bool> webRemoteEnabled {false};
    QProperty<qint64> webPort {8080};

    QProperty<bool> ndiEnabled {false};
    QProperty<QString> ndiSourceName {QStringLiteral("Tarrow")};
    /// Pixels.
    QProperty<qint64> ndiWidth {1920};
    QProperty<qint64> ndiHeight {1080};

    /// The displays that carry an output window, connected or not.
    QProperty<std::set<quint32>> enabledScreenIDs;

    /// Calls `changed`, which takes no arguments, after every change of any property for as long
    /// as the result is kept.
    template <typename Function>
    [[nodiscard]] std::vector<QPropertyNotifier> observe(Function changed)
    {
        std::vector<QPropertyNotifier> notifiers;
        visitProperties(*this, [&](const Key&, auto& property) {
            notifiers.push_back(property.addNotifier(changed));
        });
        return notifiers;
    }

private:
    struct Key {
        QStringView name;
        /// An absent optional key leaves its property's default.
        enum class Presence { required, optional } presence = Presence::required;
    };

    /// Every property with its key, in the order in which they are loaded.
    template <typename Self, typename Visitor>
    static void visitProperties(Self& self, Visitor&& visit)
    {
        visit(Key {u"textColor"}, self.textColor);
        visit(Key {u"backgroundColor"}, self.backgroundColor);
        visit(Key {u"amberColor"}, self.amberColor);
        visit(Key {u"redColor"}, self.redColor);
        visit(Key {u"useThresholdColors"}, self.useThresholdColors);
        visit(Key {u"amberThresholdSeconds"}, self.amberThresholdSeconds);
        visit(Key {u"redThresholdSeconds"}, self.redThresholdSeconds);
        visit(Key {u"allowCountUp"}, self.allowCountUp);
        visit(Key {u"playFinishSound"}, self.playFinishSound);
        visit(Key {u"cueFollow", Key::Presence::optional}, self.cueFollow);
        visit(Key {u"autoCheckUpdates", Key::Presence::optional}, self.autoCheckUpdates);
        visit(Key {u"udpPort"}, self.udpPort);
        visit(Key {u"webRemoteEnabled"}, self.webRemoteEnabled);
        visit(Key {u"webPort"}, self.webPort);
        visit(Key {u"ndiEnabled"}, self.ndiEnabled);
        visit(Key {u"ndiSourceName"}, self.ndiSourceName);
        visit(Key {u"ndiWidth"}, self.ndiWidth);
        visit(Key {u"ndiHeight"}, self.ndiHeight);
        visit(Key {u"enabledScreenIDs"}, self.enabledScreenIDs);
    }

    [[nodiscard]] std::optional<QJsonObject> snapshot() const;
    void load();
    void save();

    Preferences& m_preferences;
    bool m_suppressSave = true;
    std::vector<QPropertyNotifier> m_saveNotifiers;
};
