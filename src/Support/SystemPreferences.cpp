#include "Support/SystemPreferences.h"

#include "Support/ControlLog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSaveFile>
#include <QSettings>

#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// How long a process may take to store something. One that was killed between making a lock and
/// signing it leaves one that says nothing else of its maker than its age.
constexpr std::chrono::milliseconds lockAge(500);
constexpr std::chrono::milliseconds lockPatience(1000);

/// Each key has a line of its own, behind the line of its section.
bool isWhole(const QByteArray& document, qsizetype keyCount)
{
    qsizetype count = 0;
    for (const QByteArray& line : document.split('\n'))
        count += !line.isEmpty() && !line.startsWith('[');
    return count == keyCount && document.endsWith('\n');
}

/// The preferences as they stand in the file, written by way of a draft, which nobody else may use
/// meanwhile; nothing when there is no room for that.
std::optional<QByteArray> documentOf(const QMap<QString, QVariant>& values, const QString& draft)
{
    // A process killed in the middle leaves both.
    QFile::remove(draft);
    QFile::remove(draft + u".lock"_s);
    QSettings settings(draft, QSettings::IniFormat);
    settings.setAtomicSyncRequired(false);
    settings.clear();
    for (const auto& [key, value] : values.asKeyValueRange())
        settings.setValue(key, value);
    settings.sync();
    QFile file(draft);
    if (settings.status() != QSettings::NoError || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    // A disk that becomes full in between is no error to the settings.
    QByteArray document = file.readAll();
    if (!isWhole(document, settings.allKeys().size()))
        return std::nullopt;
    return document;
}

bool replace(const QString& fileName, const QByteArray& document)
{
    QSaveFile file(fileName);
    // Committing would not tell that the last of it was not written.
    return file.open(QIODevice::WriteOnly) && file.write(document) == document.size()
        && file.flush() && file.commit();
}

} // namespace

SystemPreferences::SystemPreferences()
    : m_fileName(QSettings(u"quillfen"_s, u"tarrow"_s).fileName())
{
    // What cannot be read now is tried again before a change is written.
    static_cast<void>(read());
}

std::optional<QByteArray> SystemPreferences::data(const QString& key) const
{
    const QVariant stored = m_values.value(key);
    if (stored.typeId() == QMetaType::QByteArray)
        return stored.toByteArray();
    // Without the marks of a byte string it is a document that somebody typed into the file.
    if (stored.typeId() == QMetaType::QString)
        return stored.toString().toUtf8();
    return std::nullopt;
}

void SystemPreferences::setData(const QString& key, const QByteArray& value)
{
    store(key, value);
}

std::optional<QString> SystemPreferences::text(const QString& key) const
{
    const QVariant stored = m_values.value(key);
    if (stored.typeId() != QMetaType::QString)
        return std::nullopt;
    return stored.toString();
}

void SystemPreferences::setText(const QString& key, const QString& value)
{
    store(key, value);
}

void SystemPreferences::store(const QString& key, const QVariant& value)
{
    m_values[key] = value;
    m_unwritten.insert(key);
    QDir().mkpath(QFileInfo(m_fileName).path());
    QLockFile lock(m_fileName + u".lock"_s);
    lock.setStaleLockTime(lockAge);
    if (lock.tryLock(lockPatience) && read() && write()) {
        m_unwritten.clear();
        m_isFailing = false;
    } else if (!std::exchange(m_isFailing, true)) {
        qCCritical(controlLog).noquote() << "Preferences: cannot write" << m_fileName;
    }
}

/// Takes over what others have stored. False when the file is there and cannot be read.
bool SystemPreferences::read()
{
    QFile file(m_fileName);
    if (!file.exists())
        return true;
    if (!file.open(QIODevice::ReadOnly))
        return false;
    // Settings remember what they have read, and take a file of the same size and time for that.
    QByteArray document = file.readAll();
    if (file.error() != QFile::NoError)
        return false;
    if (document == m_document)
        return true;
    const QSettings settings(m_fileName, QSettings::IniFormat);
    // A file that somebody has left malformed is mended with the next change.
    if (settings.status() == QSettings::AccessError)
        return false;
    for (const QString& key : settings.allKeys()) {
        // Some names that can be in a file cannot be asked for, nor stored.
        const bool isUsable = !key.isEmpty() && settings.contains(key);
        if (isUsable && !m_unwritten.contains(key))
            m_values[key] = settings.value(key);
    }
    m_document = std::move(document);
    return true;
}

bool SystemPreferences::write()
{
    const QString draft = m_fileName + u".new"_s;
    const std::optional<QByteArray> document = documentOf(m_values, draft);
    QFile::remove(draft);
    if (!document || !replace(m_fileName, *document))
        return false;
    m_document = *document;
    return true;
}
