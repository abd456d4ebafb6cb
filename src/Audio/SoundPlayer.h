#pragma once

#include "Audio/SoundOutput.h"

#include <QPluginLoader>

/// Plays one sound at a time; a new one stops the one before.
class SoundPlayer {
public:
    /// `folder` holds the sounds: by default those compiled into the program.
    explicit SoundPlayer(QString folder = QStringLiteral(":/sounds"));

    /// Plays the file `resource`.`ext` of the folder (PCM WAVE). A file that does not exist is
    /// passed over in silence; one that cannot be played costs a line on the log.
    void play(const QString& resource, const QString& ext);

private:
    QString m_folder;
    /// Found in the application's library paths, and loaded for the first sound.
    QPluginLoader m_output;
};
