#include "Audio/SoundPlayer.h"

#include "Audio/SoundOutput.h"

#include <QDebug>
#include <QFile>
#include <QPluginLoader>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// How long the end of the program waits for a sound server.
constexpr auto patience = 100ms;

void logFailure(const QString& name, const QString& reason)
{
    qWarning().noquote().nospace() << "Tarrow: failed to play " << name << ": " << reason;
}

QUrl urlOf(const QString& path)
{
    return path.startsWith(u':') ? QUrl(u"qrc"_s + path) : QUrl::fromLocalFile(path);
}

/// Runs on the player's thread.
void playNow(const QString& path, const QString& name)
{
    // Found in the application's library paths, loaded once and never unloaded.
    QPluginLoader module(u"libtarrow-sound"_s);
    auto* output = qobject_cast<SoundOutput*>(module.instance());
    if (!output) {
        logFailure(name, module.errorString());
        return;
    }
    output->play(urlOf(path), [name](const QString& reason) { logFailure(name, reason); });
}

} // namespace

SoundPlayer::SoundPlayer(QString folder)
    : m_folder(std::move(folder))
{
}

bool SoundPlayer::finish()
{
    std::unique_ptr<QThread> thread = std::move(m_thread);
    if (!thread)
        return true;
    thread->quit();
    if (thread->wait(QDeadlineTimer(patience)))
        return true;
    // A running thread must not be destroyed; it goes with the process.
    (void)thread.release();
    return false;
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
    if (!m_thread)
        startThread();
    QMetaObject::invokeMethod(
        m_voice, [path = file.fileName(), name] { playNow(path, name); }, Qt::QueuedConnection);
}

void SoundPlayer::startThread()
{
    m_thread = std::make_unique<QThread>();
    m_thread->setObjectName(u"tarrow.sound"_s);
    m_voice = new QObject;
    m_voice->moveToThread(m_thread.get());
    QObject::connect(m_thread.get(), &QThread::finished, m_voice, &QObject::deleteLater);
    m_thread->start();
}
