#include "Audio/SoundPlayer.h"

#include <QAudioDevice>
#include <QDebug>
#include <QFile>
#include <QMediaDevices>
#include <QSoundEffect>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

void logFailure(const QString& name, const QString& reason)
{
    qWarning().noquote().nospace() << "Tarrow: failed to play " << name << ": " << reason;
}

QUrl urlOf(const QString& path)
{
    return path.startsWith(u':') ? QUrl(u"qrc"_s + path) : QUrl::fromLocalFile(path);
}

} // namespace

SoundPlayer::SoundPlayer(QString folder)
    : m_folder(std::move(folder))
{
}

SoundPlayer::~SoundPlayer() = default;

void SoundPlayer::play(const QString& resource, const QString& ext)
{
    const QString name = resource + u'.' + ext;
    QFile file(m_folder + u'/' + name);
    if (!file.exists())
        return;
    if (!file.open(QIODevice::ReadOnly)) {
        logFailure(name, file.errorString());
        return;
    }
    const QAudioDevice device = QMediaDevices::defaultAudioOutput();
    if (device.isNull()) {
        logFailure(name, u"there is no audio output"_s);
        return;
    }
    m_player = std::make_unique<QSoundEffect>(device);
    QObject::connect(m_player.get(), &QSoundEffect::statusChanged, [this, name] {
        if (m_player->status() == QSoundEffect::Error)
            logFailure(name, u"it is no sound that can be decoded"_s);
    });
    m_player->setSource(urlOf(file.fileName()));
    m_player->play();
}
