#include "App/AppDelegate.h"
#include "Model/TimeText.h"
#include "Support/CheckedConversions.h"
#include "Support/JsonText.h"

using namespace Qt::StringLiterals;

// Written straight into bytes: every open page asks for them several times a second.

namespace {

QStringView caseName(TimeThreshold threshold)
{
    switch (threshold) {
    case TimeThreshold::normal:
        return u"normal";
    case TimeThreshold::amber:
        return u"amber";
    case TimeThreshold::red:
        break;
    }
    return u"red";
}

QStringView caseName(TimerEngine::Phase phase)
{
    switch (phase) {
    case TimerEngine::Phase::idle:
        return u"idle";
    case TimerEngine::Phase::running:
        return u"running";
    case TimerEngine::Phase::paused:
        return u"paused";
    case TimerEngine::Phase::clock:
        break;
    }
    return u"clock";
}

void appendComponent(QString& text, double value)
{
    constexpr QStringView digits = u"0123456789ABCDEF";
    const auto number = static_cast<uint>(checkedRound(value * 255, "a colour's component"));
    if (number > 255)
        text += QString::asprintf("%X", number);
    else
        text.append(digits[number >> 4]).append(digits[number & 0xf]);
}

/// "#FFB000". A component beyond 0...1 has more digits.
QString colorText(const RGBColor& color)
{
    QString text = u"#"_s;
    for (const double component : {color.r, color.g, color.b})
        appendComponent(text, component);
    return text;
}

/// A JSON object, member by member in the order of the calls.
class ObjectWriter {
public:
    explicit ObjectWriter(QByteArray& json)
        : m_json(json)
    {
        m_json.append('{');
    }

    void add(QByteArrayView key, QStringView value)
    {
        addKey(key);
        appendJsonString(m_json, value);
    }
    void add(QByteArrayView key, bool value)
    {
        addKey(key);
        m_json.append(value ? "true" : "false");
    }
    void add(QByteArrayView key, qint64 value)
    {
        addKey(key);
        m_json.append(QByteArray::number(value));
    }
    void finish() { m_json.append('}'); }

private:
    void addKey(QByteArrayView key)
    {
        if (!m_json.endsWith('{'))
            m_json.append(',');
        m_json.append('"').append(key).append("\":");
    }

    QByteArray& m_json;
};

} // namespace

QByteArray AppDelegate::makeStateJSON()
{
    const DisplaySnapshot snapshot = engine().snapshot;
    QByteArray json;
    json.reserve(512);
    ObjectWriter writer(json);
    writer.add("time", snapshot.timeText);
    writer.add("threshold", caseName(snapshot.threshold));
    writer.add("phase", caseName(engine().phase));
    writer.add("message", snapshot.message.value_or(QString()));
    writer.add("blackout", snapshot.isBlackout);
    writer.add("strobe", snapshot.strobe);
    writer.add("strobeCount", engine().strobeCount.value());
    writer.add("loop", engine().loop.value());
    writer.add("textColor", colorText(color(snapshot.threshold, settings)));
    writer.add("bgColor", colorText(settings.backgroundColor));
    writer.finish();
    return json;
}

QByteArray AppDelegate::makeCuesJSON()
{
    const QList<Cue> order = cues().cues;
    const std::optional<qint64> current = cues().currentIndex();
    QByteArray json("[");
    for (qint64 index = 0; index < order.size(); ++index) {
        const Cue& cue = order[index];
        if (index > 0)
            json.append(',');
        ObjectWriter writer(json);
        writer.add("index", index + 1);
        writer.add("title", cue.title);
        writer.add("duration", minutesAndSeconds(magnitude(cue.seconds)));
        writer.add("current", current == index);
        writer.finish();
    }
    json.append(']');
    return json;
}
