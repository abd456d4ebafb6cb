#include "Audio/SoundPlayer.h"

#include "helpers/CapturedLog.h"

#include <QDir>
#include <QMutex>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

/// What a machine without sound does with a sound.
class SoundPlayerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("PULSE_SERVER", "unix:/nonexistent");
        QCoreApplication::addLibraryPath(QStringLiteral(TARROW_MODULES));
        QDir(m_sounds.path()).mkdir(u"folder.wav"_s);
        QFile sound(m_sounds.filePath(u"sound.wav"_s));
        QVERIFY(sound.open(QIODevice::WriteOnly));
    }

    void failsAsItShould_data()
    {
        QTest::addColumn<QString>("resource");
        QTest::addColumn<QStringList>("lines");

        QTest::newRow("absent") << u"absent"_s << QStringList();
        QTest::newRow("cannot be opened")
            << u"folder"_s
            << QStringList {u"Tarrow: failed to play folder.wav: file to open is a directory"_s};
        QTest::newRow("no audio output")
            << u"sound"_s
            << QStringList {u"Tarrow: failed to play sound.wav: there is no audio output"_s};
    }
    void failsAsItShould()
    {
        QFETCH(QString, resource);
        QFETCH(QStringList, lines);

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
        SoundPlayer player(m_sounds.path());
        player.play(resource, u"wav"_s);
        QTRY_COMPARE(loggedSoFar(), lines);
        QVERIFY(player.finish());
        QCOMPARE(loggedSoFar(), lines);
    }

private:
    QTemporaryDir m_sounds;
};

QTEST_GUILESS_MAIN(SoundPlayerTest)
#include "tst_SoundPlayer.moc"
