#include "Audio/SoundPlayer.h"

#include <QDebug>
#include <QFile>

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
    , m_output(u"libtarrow-sound"_s)
{
}

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
    auto* output = qobject_cast<SoundOutput*>(m_output.instance());
    if (!output) {
        logFailure(name, m_output.errorString());
        return;
    }
    output->play(
        urlOf(file.fileName()), [name](const QString& reason) { logFailure(name, reason); });
}
