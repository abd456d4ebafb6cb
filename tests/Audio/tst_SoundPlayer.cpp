#include "Audio/SoundPlayer.h"

#include <QDir>
#include <QMutex>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QMutex mutex;
QStringList logLines;

/// Sounds fail on a thread of their own.
void keepLine(QtMsgType, const QMessageLogContext& context, const QString& message)
{
    // The audio library has something of its own to say about a missing sound server.
    const QMutexLocker lock(&mutex);
    if (qstrcmp(context.category, "default") == 0 && message.startsWith(u"Tarrow"))
        logLines.append(message);
}

QStringList loggedSoFar()
{
    const QMutexLocker lock(&mutex);
    return logLines;
}

} // namespace

/// What a machine without sound does with a sound.
class SoundPlayerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void failsAsItShould_data();
    void failsAsItShould();

private:
    QTemporaryDir m_sounds;
};

void SoundPlayerTest::initTestCase()
{
    qputenv("PULSE_SERVER", "unix:/nonexistent");
    QCoreApplication::addLibraryPath(QStringLiteral(TARROW_MODULES));
    QDir(m_sounds.path()).mkdir(u"folder.wav"_s);
    QFile sound(m_sounds.filePath(u"sound.wav"_s));
    QVERIFY(sound.open(QIODevice::WriteOnly));
}

void SoundPlayerTest::failsAsItShould_data()
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

void SoundPlayerTest::failsAsItShould()
{
    QFETCH(QString, resource);
    QFETCH(QStringList, lines);

    logLines.clear();
    SoundPlayer player(m_sounds.path());
    const QtMessageHandler original = qInstallMessageHandler(keepLine);
    player.play(resource, u"wav"_s);
    QTRY_COMPARE(loggedSoFar(), lines);
    QVERIFY(player.finish());
    qInstallMessageHandler(original);
    QCOMPARE(loggedSoFar(), lines);
}

QTEST_GUILESS_MAIN(SoundPlayerTest)
#include "tst_SoundPlayer.moc"
