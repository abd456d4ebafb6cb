#include "Audio/SoundOutput.h"

#include <QAudioDevice>
#include <QMediaDevices>
#include <QSoundEffect>
#include <QThread>

#include <memory>

using namespace Qt::StringLiterals;

class QtSoundOutput final : public QObject, public SoundOutput {
    Q_OBJECT
    Q_INTERFACES(SoundOutput)
    Q_PLUGIN_METADATA(IID "com.quillfen.tarrow.SoundOutput")

public:
    void play(const QUrl& sound, std::function<void(const QString&)> onFailure) override
    {
        const QAudioDevice device = QMediaDevices::defaultAudioOutput();
        if (device.isNull()) {
            onFailure(u"there is no audio output"_s);
            return;
        }
        // The audio library ends before this module does, and an effect does not outlive it.
        connect(
            QThread::currentThread(), &QThread::finished, this, [this] { m_effect.reset(); },
            Qt::DirectConnection);
        m_effect = std::make_unique<QSoundEffect>(device);
        connect(m_effect.get(), &QSoundEffect::statusChanged, this,
            [this, onFailure = std::move(onFailure)] {
                if (m_effect->status() == QSoundEffect::Error)
                    onFailure(u"it is no sound that can be decoded"_s);
            });
        m_effect->setSource(sound);
        m_effect->play();
    }

private:
    /// Kept because it plays for as long as it lives.
    std::unique_ptr<QSoundEffect> m_effect;
};

#include "QtSoundOutput.moc"
