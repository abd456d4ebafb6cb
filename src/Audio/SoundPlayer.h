#pragma once

#include <QString>

#include <memory>

class QSoundEffect;

/// Plays one sound at a time; a new one stops the one before.
class SoundPlayer {
public:
    /// `folder` holds the sounds: by default those compiled into the program.
    explicit SoundPlayer(QString folder = QStringLiteral(":/sounds"));
    SoundPlayer(const SoundPlayer&) = delete;
    SoundPlayer& operator=(const SoundPlayer&) = delete;
    ~SoundPlayer();

    /// Plays the file `resource`.`ext` of the folder (PCM WAVE). A file that does not exist is
    /// passed over in silence; one that cannot be played costs a line on the log.
    void play(const QString& resource, const QString& ext);

private:
    QString m_folder;
    /// Kept because it plays for as long as it lives.
    std::unique_ptr<QSoundEffect> m_player;
};
