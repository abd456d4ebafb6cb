#include "Model/CueList.h"

#include "Model/TimeText.h"

#include <QJsonDocument>
#include <QPointer>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// The file that carries a running order from machine to machine:
/// {"format": "TarrowCues", "version": 1, "cues": [cue, …]}, all keys required.
struct CueFile {
    QString format = expectedFormat;
    qint64 version = 1;
    QList<Cue> cues;

    static inline const QString expectedFormat = u"TarrowCues"_s;
};

QByteArray encode(const CueFile& file)
{
    const QJsonObject object {
        {u"format"_s, file.format},
        {u"version"_s, file.version},
        {u"cues"_s, encodeArray(file.cues)},
    };
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<CueFile> decodeCueFile(const QByteArray& bytes)
{
    const QJsonObject object = QJsonDocument::fromJson(bytes).object();
    const auto format = JsonForm<QString>::decode(object.value(u"format"));
    const auto version = JsonForm<qint64>::decode(object.value(u"version"));
    const auto cues = decodeArray<Cue>(object.value(u"cues"));
    if (!format || !version || !cues)
        return std::nullopt;
    return CueFile {.format = *format, .version = *version, .cues = *cues};
}

/// QUuid itself takes several spellings, and gives the null UUID for what is none.
std::optional<QUuid> decodeUuid(const QJsonValue& json)
{
    static const QRegularExpression form(
        u"\\A[0-9A-Fa-f]{8}(-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12}\\z"_s);
    const QString text = json.toString();
    if (!form.match(text).hasMatch())
        return std::nullopt;
    return QUuid::fromString(text);
}

} // namespace

QJsonValue JsonForm<Cue>::encode(const Cue& cue)
{
    return QJsonObject {
        {u"id"_s, cue.id.toString(QUuid::WithoutBraces)},
        {u"title"_s, cue.title},
        {u"seconds"_s, cue.seconds},
    };
}

std::optional<Cue> JsonForm<Cue>::decode(const QJsonValue& json)
{
    const QJsonObject object = json.toObject();
    const auto id = decodeUuid(object.value(u"id"));
    const auto title = JsonForm<QString>::decode(object.value(u"title"));
    const auto seconds = JsonForm<qint64>::decode(object.value(u"seconds"));
    if (!id || !title || !seconds)
        return std::nullopt;
    return Cue {.id = *id, .title = *title, .seconds = *seconds};
}

CueController::CueController(TimerEngine& engine, AppSettings& settings, Preferences& preferences)
    : m_engine(engine)
    , m_settings(settings)
    , m_preferences(preferences)
    , m_saveNotifier(cues.addNotifier([this] { save(); }))
{
    load();
    m_suppressSave = false;
    m_engine.autoAdvanceHandler = [controller = QPointer<CueController>(this)] {
        return controller && controller->autoAdvance();
    };
}

std::optional<qint64> CueController::currentIndex() const
{
    const std::optional<QUuid> current = currentCueID;
    if (!current)
        return std::nullopt;
    const QList<Cue>& list = cues.value();
    const auto cue = std::ranges::find(list, *current, &Cue::id);
    if (cue == list.end())
        return std::nullopt;
    return cue - list.begin();
}

void CueController::add(const QString& title, double minutes)
{
    QList<Cue> list = cues;
    QString name = title.trimmed();
    if (name.isEmpty())
        name = u"Cue %1"_s.arg(list.size() + 1);
    list.append({.id = QUuid::createUuid(), .title = name, .seconds = secondsFromMinutes(minutes)});
    cues = list;
}

void CueController::remove(qint64 index)
{
    if (!isValid(index))
        return;
    QList<Cue> list = cues;
    if (list[index].id == currentCueID.value())
        currentCueID = std::nullopt;
    list.removeAt(index);
    cues = list;
}

void CueController::move(qint64 index, qint64 offset)
{
    // Compared by differences: an offset may be large enough for the sum to overflow.
    if (!isValid(index) || offset < -index || offset >= cues.value().size() - index)
        return;
    QList<Cue> list = cues;
    list.swapItemsAt(index, index + offset);
    cues = list;
}

void CueController::select(qint64 index)
{
    if (!isValid(index))
        return;
    if (m_settings.cueFollow)
        load(index);
    else
        currentCueID = cues.value()[index].id;
}

void CueController::load(qint64 index)
{
    if (!isValid(index))
        return;
    const Cue cue = cues.value()[index];
    currentCueID = cue.id;
    m_engine.setSeconds = std::max<qint64>(0, cue.seconds);
    m_engine.start(TimerEngine::RunOrigin::cue);
}

void CueController::next()
{
    const auto index = currentIndex();
    select(index ? *index + 1 : 0);
}

void CueController::previous()
{
    if (const auto index = currentIndex())
        select(*index - 1);
}

QByteArray CueController::exportData() const
{
    return encode({.cues = cues});
}

bool CueController::replaceCues(const QByteArray& bytes)
{
    const std::optional<CueFile> file = decodeCueFile(bytes);
    if (!file || file->format != CueFile::expectedFormat)
        return false;
    currentCueID = std::nullopt;
    // An import is stored even when it changes nothing: what is stored may be unreadable.
    if (file->cues == cues.value())
        save();
    cues = file->cues;
    return true;
}

bool CueController::isValid(qint64 index) const
{
    return index >= 0 && index < cues.value().size();
}

bool CueController::autoAdvance()
{
    const auto index = currentIndex();
    if (!m_settings.cueFollow || !index || *index + 1 >= cues.value().size())
        return false;
    load(*index + 1);
    return true;
}

void CueController::load()
{
    // What is no list is as good as an empty one, which nothing has to be done for.
    if (const auto list = decodeArray<Cue>(m_preferences.document(defaultsKey).array()))
        cues = *list;
}

void CueController::save()
{
    if (!m_suppressSave)
        m_preferences.setDocument(defaultsKey, QJsonDocument(encodeArray(cues.value())));
}
