#include "Support/SystemPreferences.h"

#include "Support/ControlLog.h"

#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

std::unique_ptr<QSettings> openSettings()
{
    auto settings = std::make_unique<QSettings>(u"quillfen"_s, u"tarrow"_s);
    settings->setFallbacksEnabled(false);
    return settings;
}

/// A process killed between making the lock file of the preferences and signing it leaves a lock
/// that the next writer would wait half a minute for. A lock that is merely being made does not
/// need to survive: the file itself is replaced as a whole either way.
void removeUnsignedLock(const QString& fileName)
{
    const QFileInfo lock(fileName + u".lock"_s);
    if (lock.exists() && lock.size() == 0)
        QFile::remove(lock.filePath());
}

} // namespace

SystemPreferences::SystemPreferences()
    : m_settings(openSettings())
{
}

std::optional<QByteArray> SystemPreferences::data(const QString& key) const
{
    const QVariant value = m_settings->value(key);
    if (value.typeId() == QMetaType::QByteArray)
        return value.toByteArray();
    // Without the marks of a byte string it is a document that somebody typed into the file.
    if (value.typeId() == QMetaType::QString)
        return value.toString().toUtf8();
    return std::nullopt;
}

void SystemPreferences::setData(const QString& key, const QByteArray& value)
{
    store(key, value);
}

std::optional<QString> SystemPreferences::text(const QString& key) const
{
    const QVariant value = m_settings->value(key);
    if (value.typeId() != QMetaType::QString)
        return std::nullopt;
    return value.toString();
}

void SystemPreferences::setText(const QString& key, const QString& value)
{
    store(key, value);
}

QString SystemPreferences::fileName() const
{
    return m_settings->fileName();
}

void SystemPreferences::store(const QString& key, const QVariant& value)
{
    removeUnsignedLock(fileName());
    m_settings->setValue(key, value);
    m_settings->sync();
    // A file that somebody has left malformed is a fault of reading it, and is mended now.
    if (m_settings->status() != QSettings::AccessError) {
        m_isFailing = false;
        return;
    }
    if (!m_isFailing)
        qCCritical(controlLog).noquote() << "Preferences: cannot write" << fileName();
    m_isFailing = true;
    // The status of a settings object never recovers. A new one made while the old one lives
    // shares its unwritten changes, and stores them with the next.
    auto successor = openSettings();
    m_settings.swap(successor);
}
