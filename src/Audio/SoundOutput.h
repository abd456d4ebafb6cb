#pragma once

#include <QObject>
#include <QUrl>

#include <functional>

/// The part of the sound player that needs the audio library. It is a module of its own, loaded
/// for the first sound, because the library takes longer to load than the rest of the program and
/// most shows never play a sound.
class SoundOutput {
public:
    SoundOutput() = default;
    SoundOutput(const SoundOutput&) = delete;
    SoundOutput& operator=(const SoundOutput&) = delete;
    virtual ~SoundOutput() = default;

    /// Plays a PCM WAVE file in place of the one that is playing. `onFailure` gets the reason when
    /// it cannot be played, at once or later.
    virtual void play(const QUrl& sound, std::function<void(const QString&)> onFailure) = 0;
};

Q_DECLARE_INTERFACE(SoundOutput, "com.quillfen.tarrow.SoundOutput")
