#pragma once

#include <QString>
#include <QThread>

#include <memory>

/// Plays one sound at a time; a new one stops the one before.
///
/// Sounds are played from a thread of their own, since a sound server that does not answer keeps
/// its callers waiting, for ever if need be. The show goes on without the sound then.
class SoundPlayer {
public:
    /// `folder` holds the sounds: by default those compiled into the program.
    explicit SoundPlayer(QString folder = QStringLiteral(":/sounds"));
    SoundPlayer(const SoundPlayer&) = delete;
    SoundPlayer& operator=(const SoundPlayer&) = delete;
    ~SoundPlayer() { (void)finish(); }

    /// Plays the file `resource`.`ext` of the folder (PCM WAVE). A file that does not exist is
    /// passed over in silence; one that cannot be played costs a line on the log.
    void play(const QString& resource, const QString& ext);

    /// Ends the thread. Returns false when it hangs in the sound server: then the process must end
    /// without tidying up (std::quick_exit), since the audio library would wait for it too.
    [[nodiscard]] bool finish();

private:
    void startThread();

    QString m_folder;
    /// Started for the first sound.
    std::unique_ptr<QThread> m_thread;
    /// What lives on the thread; it goes when the thread ends.
    QObject* m_voice = nullptr;
};
