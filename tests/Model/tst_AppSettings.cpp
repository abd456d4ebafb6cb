#include "Model/AppSettings.h"

#include "helpers/MemoryPreferences.h"

#include <QJsonDocument>
#include <QTest>

#include <functional>
#include <limits>
#include <type_traits>

using namespace Qt::StringLiterals;

namespace {

QJsonValue json(const RGBColor& color)
{
    return QJsonObject {{u"r"_s, color.r}, {u"g"_s, color.g}, {u"b"_s, color.b}, {u"a"_s, color.a}};
}

QJsonValue json(const std::set<quint32>& identifiers)
{
    QJsonArray array;
    for (const quint32 identifier : identifiers)
        array.append(static_cast<qint64>(identifier));
    return array;
}

template <typename T> QJsonValue json(const T& value)
{
    return value;
}

/// One key of the stored document with its default, another value, and the property behind it.
struct Preference {
    QString key;
    QJsonValue usual;
    QJsonValue unusual;
    std::function<QJsonValue(const AppSettings&)> read;
    std::function<void(AppSettings&)> makeUnusual;
};

template <typename T>
Preference preference(const QString& key, QProperty<T> AppSettings::*property,
    const std::type_identity_t<T>& usual, const std::type_identity_t<T>& unusual)
{
    return {key, json(usual), json(unusual),
        [property](const AppSettings& settings) { return json((settings.*property).value()); },
        [property, unusual](AppSettings& settings) { settings.*property = unusual; }};
}

const QList<Preference>& allPreferences()
{
    using S = AppSettings;
    static const QList<Preference> list {
        preference(u"textColor"_s, &S::textColor, {1, 1, 1, 1}, {0.25, 0.5, 0.75, 0.125}),
        preference(u"backgroundColor"_s, &S::backgroundColor, {0, 0, 0, 1}, {0.1, 0.2, 0.3, 1}),
        preference(u"amberColor"_s, &S::amberColor, {1, 0.6901960784313725, 0, 1}, {7, -1, 0}),
        preference(u"redColor"_s, &S::redColor, {1, 0.23137254901960785, 0.18823529411764706, 1},
            {0.9, 1e-300, 1e300, 0}),
        preference(u"useThresholdColors"_s, &S::useThresholdColors, true, false),
        preference(u"amberThresholdSeconds"_s, &S::amberThresholdSeconds, 300, 9),
        preference(u"redThresholdSeconds"_s, &S::redThresholdSeconds, 60,
            std::numeric_limits<qint64>::max()),
        preference(u"allowCountUp"_s, &S::allowCountUp, false, true),
        preference(u"playFinishSound"_s, &S::playFinishSound, false, true),
        preference(u"cueFollow"_s, &S::cueFollow, false, true),
        preference(u"autoCheckUpdates"_s, &S::autoCheckUpdates, true, false),
        preference(u"udpPort"_s, &S::udpPort, 6969, std::numeric_limits<qint64>::min()),
        preference(u"webRemoteEnabled"_s, &S::webRemoteEnabled, false, true),
        preference(u"webPort"_s, &S::webPort, 8080, 70'000),
        preference(u"ndiEnabled"_s, &S::ndiEnabled, false, true),
        preference(
            u"ndiSourceName"_s, &S::ndiSourceName, u"Tarrow"_s, u"Bühne \"2\"\n\U0001F600"_s),
        preference(u"ndiWidth"_s, &S::ndiWidth, 1920, 0),
        preference(u"ndiHeight"_s, &S::ndiHeight, 1080, -1),
        preference(u"enabledScreenIDs"_s, &S::enabledScreenIDs, {}, {0, 3, 4'294'967'295}),
    };
    return list;
}

QJsonObject document(QJsonValue Preference::*value)
{
    QJsonObject object;
    for (const Preference& preference : allPreferences())
        object.insert(preference.key, preference.*value);
    return object;
}

QByteArray bytes(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

/// A complete document but for the text at `key`, which is as given, or no longer there.
QByteArray documentWith(const QString& key, const QByteArray& text)
{
    QJsonObject object = document(&Preference::unusual);
    object.remove(key);
    QByteArray result = bytes(object);
    if (text.isNull())
        return result;
    result.chop(1);
    return result + ",\"" + key.toUtf8() + "\":" + text + '}';
}

/// The keys whose values `settings` and `expected` do not agree on.
QString differences(const AppSettings& settings, const QJsonObject& expected)
{
    QStringList keys;
    for (const Preference& preference : allPreferences()) {
        if (preference.read(settings) != expected.value(preference.key))
            keys.append(preference.key);
    }
    return keys.join(u' ');
}

} // namespace

class AppSettingsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyChangeStoresTheWholeDocument()
    {
        MemoryPreferences preferences;
        AppSettings settings(preferences);
        QJsonObject expected = document(&Preference::usual);
        QCOMPARE(differences(settings, expected), QString());
        QCOMPARE(preferences.writes, 0);
        int writes = 0;
        for (const Preference& preference : allPreferences()) {
            preference.makeUnusual(settings);
            expected.insert(preference.key, preference.unusual);
            QCOMPARE(QJsonDocument::fromJson(preferences.documents[key]).object(), expected);
            QCOMPARE(differences(AppSettings(preferences), expected), QString());
            QCOMPARE(preferences.writes, ++writes);
        }
    }

    void loads_data()
    {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<QString>("atKey");
        QTest::addColumn<QJsonValue>("value");
        const auto row = [](const char* name, const QString& at, const QByteArray& text,
                             const QJsonValue& value) {
            QTest::newRow(name) << documentWith(at, text) << at << value;
        };
        row("follow absent", u"cueFollow"_s, {}, false);
        row("follow null", u"cueFollow"_s, "null", false);
        row("update check absent", u"autoCheckUpdates"_s, {}, true);
        row("screens twice", u"enabledScreenIDs"_s, "[2, 2, 5]", QJsonArray {2, 5});
        row("unknown key", u"fontName"_s, R"({"size": [12]})", {});
    }
    void loads()
    {
        QFETCH(const QByteArray, stored);
        QFETCH(const QString, atKey);
        QFETCH(const QJsonValue, value);
        MemoryPreferences preferences;
        preferences.documents[key] = stored;
        QJsonObject expected = document(&Preference::unusual);
        expected.insert(atKey, value);
        QCOMPARE(differences(AppSettings(preferences), expected), QString());
        QCOMPARE(preferences.writes, 0);
    }

    void ignores_data()
    {
        QTest::addColumn<QByteArray>("stored");
        const QByteArray complete = bytes(document(&Preference::unusual));
        QTest::newRow("no bytes") << QByteArray("");
        QTest::newRow("cut short") << complete.chopped(1);
        QTest::newRow("something behind the end") << complete + '}';
        QTest::newRow("no UTF-8") << documentWith(u"ndiSourceName"_s, "\"\xff\"");
        for (const Preference& preference : allPreferences()) {
            const QString& name = preference.key;
            if (name != u"cueFollow" && name != u"autoCheckUpdates") {
                QTest::addRow("no %s", qPrintable(name)) << documentWith(name, {});
                QTest::addRow("%s null", qPrintable(name)) << documentWith(name, "null");
            }
        }
        const auto rows = [](const QString& at, const QByteArrayList& texts) {
            for (const QByteArray& text : texts)
                QTest::addRow("%s %s", qPrintable(at), text.constData()) << documentWith(at, text);
        };
        rows(u"autoCheckUpdates"_s, {"0"});
        rows(u"amberThresholdSeconds"_s, {"1.5", R"("1")", "9223372036854775808"});
        rows(u"ndiSourceName"_s, {"1", R"("\ud800")"});
        rows(u"enabledScreenIDs"_s, {"{}", "[4294967296]", "[-1]", R"(["1"])"});
        rows(u"textColor"_s,
            {"[1,1,1,1]", R"({"r":1,"g":1,"b":1})", R"({"r":1,"g":1,"b":1,"a":1e999})"});
    }
    void ignores()
    {
        QFETCH(const QByteArray, stored);
        MemoryPreferences preferences;
        preferences.documents[key] = stored;
        AppSettings settings(preferences);
        QJsonObject expected = document(&Preference::usual);
        QCOMPARE(differences(settings, expected), QString());
        QCOMPARE(preferences.writes, 0);

        settings.webPort = 8081;
        expected.insert(u"webPort"_s, 8081);
        QCOMPARE(QJsonDocument::fromJson(preferences.documents[key]).object(), expected);
    }

    void nonFiniteColorSkipsTheSave()
    {
        MemoryPreferences preferences;
        AppSettings settings(preferences);
        settings.redColor = RGBColor {.r = std::numeric_limits<double>::quiet_NaN()};
        settings.webPort = 8081;
        QCOMPARE(preferences.writes, 0);
        settings.redColor = RGBColor {.r = 0.5};
        QCOMPARE(preferences.writes, 1);
        QCOMPARE(AppSettings(preferences).webPort, 8081);
    }

private:
    static inline const QString key = u"TarrowSettings.v1"_s;
};

QTEST_GUILESS_MAIN(AppSettingsTest)
#include "tst_AppSettings.moc"
