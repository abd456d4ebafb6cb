#include "Audio/SoundPlayer.h"

#include "helpers/CapturedLog.h"

#include <QFile>
#include <QMutex>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class SoundPlayerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void tellsThatThereIsNoAudioOutput()
    {
        qputenv("PULSE_SERVER", "unix:/nonexistent");
        QCoreApplication::addLibraryPath(QStringLiteral(TARROW_MODULES));
        const QTemporaryDir folder;
        QFile sound(folder.filePath(u"sound.wav"_s));
        QVERIFY(sound.open(QIODevice::WriteOnly));

        // Sounds fail on a thread of their own.
        QMutex mutex;
        QStringList logged;
        const CapturedLog log([&](const QString& line) {
            const QMutexLocker lock(&mutex);
            // The audio library has something of its own to say about a missing sound server.
            if (line.startsWith(u"Tarrow"_s))
                logged.append(line);
        });
        const auto loggedSoFar = [&] {
            const QMutexLocker lock(&mutex);
            return logged;
        };
        const QStringList expected {
            u"Tarrow: failed to play sound.wav: there is no audio output"_s};
        SoundPlayer player(folder.path());
        player.play(u"absent"_s, u"wav"_s);
        player.play(u"sound"_s, u"wav"_s);
        QTRY_COMPARE(loggedSoFar(), expected);
        QVERIFY(player.finish());
        QCOMPARE(loggedSoFar(), expected);
    }
};

QTEST_GUILESS_MAIN(SoundPlayerTest)
#include "tst_SoundPlayer.moc"
