#include "StreamDeck/StreamDeckRoles.h"
#include "Views/OutputPicture.h"
#include "Windows/IconRenderer.h"

#include "helpers/DeckReports.h"
#include "helpers/FakeDecks.h"
#include "helpers/MemoryPreferences.h"
#include "helpers/RunningProgram.h"
#include "helpers/SessionBus.h"
#include "helpers/XServer.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QPainter>
#include <QSettings>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr int deckProduct = Deck::xl;
constexpr qsizetype deckReport = 1024;
/// Of the deck's keys.
enum DeckKey { pauseKey = 2, cuePrevKey = 8, cueGoKey = 10 };

/// What a desktop starts for the installed program.
QString programOfDesktopEntry(const QString& prefix)
{
    const QSettings entry(
        prefix + u"/share/applications/com.quillfen.tarrow.desktop"_s, QSettings::IniFormat);
    const QStringList words =
        QProcess::splitCommand(entry.value(u"Desktop Entry/Exec"_s).toString());
    return QStandardPaths::findExecutable(words.value(0), {prefix + u"/bin"_s});
}

} // namespace

/// One evening with the installed program: a test after the other, each with what the ones before
/// have left.
class InstalledProgramTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_server.isRunning());
        m_server.plug(u"DUMMY1"_s, u"large"_s, u"1440x0"_s);
        m_decks.plug(0, deckProduct);
        startSoundServer();

        const QString prefix = m_folder.filePath(u"prefix"_s);
        QCOMPARE(QProcess::execute(u"cmake"_s,
                     {u"--install"_s, QStringLiteral(TARROW_BUILD), u"--prefix"_s, prefix}),
            0);
        m_program = std::make_unique<RunningProgram>();
        m_program->process().setProgram(programOfDesktopEntry(prefix));
        m_program->setShownOn(m_server);
        const auto set = [this](const QString& name, const QString& value) {
            m_program->environment().insert(name, value);
        };
        set(u"DBUS_SESSION_BUS_ADDRESS"_s, QString::fromUtf8(m_bus.address()));
        set(u"PULSE_SERVER"_s, u"unix:"_s + m_folder.filePath(u"sound"_s));
        set(u"NDI_RUNTIME_DIR_V6"_s, QStringLiteral(STAND_IN_RUNTIME));
        set(u"STAND_IN_NDI_LOG"_s, m_folder.filePath(u"ndi"_s));
        QVERIFY2(m_program->start(), m_program->log().constData());
        QTRY_COMPARE(m_server.focusedWindow(), u"Tarrow"_s);
        QTRY_COMPARE(m_bus.screenSaver().inhibitors,
            QStringList {u"Tarrow: Tarrow stage timer is running"_s});
    }

    void cleanupTestCase()
    {
        m_program.reset();
        for (QProcess* process : {&m_recorder, &m_soundServer}) {
            process->kill();
            process->waitForFinished();
        }
    }

    /// By the keyboard: the settings; backwards from there the finish buzzer, the deck, the web
    /// remote and NDI; then two cues.
    void isSetUpAtTheConsole()
    {
        press(u"shift+Tab space"_s);
        press(u"shift+Tab shift+Tab space"_s);
        press(u"shift+Tab shift+Tab space"_s);
        QTRY_VERIFY(!m_decks.featureReports(0).isEmpty());
        press(u"shift+Tab shift+Tab shift+Tab shift+Tab shift+Tab shift+Tab shift+Tab shift+Tab "
              "space"_s);
        QVERIFY2(m_program->webPort() != 0, m_program->log().constData());
        press(u"shift+Tab space"_s);
        QTRY_VERIFY(runtimeLog().contains("create Tarrow"));
        press(u"Tab Tab"_s);
        press(u"d o o r s Tab 1 Return shift+Tab"_s);
        press(u"t a l k Tab 2 0 Return shift+Tab"_s);
        QTRY_COMPARE(cues().size(), 2);
        QCOMPARE(cues()[1].toObject()[u"title"], u"talk"_s);
    }

    void showsTheSameEverywhere_data()
    {
        QTest::addColumn<QByteArrayList>("commands");
        QTest::addColumn<DisplaySnapshot>("expected");

        const auto row = [](const char* name, const QByteArrayList& commands,
                             const DisplaySnapshot& expected) {
            QTest::newRow(name) << commands << expected;
        };
        using enum TimeThreshold;
        row("countdown", {"GO 12"}, {.threshold = normal});
        row("red", {"GO 0.5"}, {.threshold = red});
        row("message", {"GO 4", "MSG Doors open"},
            {.threshold = amber, .message = u"Doors open"_s});
        row("blackout", {"GO 12", "BLACK"}, {.isBlackout = true});
    }

    /// The display, the deck and the icon, by what the browser is told.
    void showsTheSameEverywhere()
    {
        QFETCH(QByteArrayList, commands);
        QFETCH(DisplaySnapshot, expected);

        m_program->send("RESET");
        for (const QByteArray& command : commands)
            m_program->send(command);
        QTRY_COMPARE(m_program->state()[u"phase"], u"running"_s);
        pressDeckKey(pauseKey);
        QTRY_COMPARE(m_program->state()[u"phase"], u"paused"_s);

        const DisplaySnapshot shown = toldSnapshot();
        expected.timeText = shown.timeText;
        QCOMPARE(shown, expected);
        QTRY_COMPARE(displayedPicture(), paintedPicture(shown));
        QTRY_COMPARE(icon(),
            IconRenderer::image(shown.timeText, 512).convertToFormat(QImage::Format_ARGB32));
        const StreamDeckState deckState {
            .snapshot = shown,
            .phase = TimerEngine::Phase::paused,
            .thresholdColor = color(shown.threshold, m_settings),
        };
        QTRY_COMPARE(keysUnlike([&](const StreamDeckRole& role) { return face(role, deckState); }),
            QList<int>());
    }

    /// Every frame that the runtime gets is written down, and so the flashes are.
    void drawsAttention()
    {
        const QByteArray white = "ends in FFFFFFFF";
        QVERIFY(runtimeLog().contains("ends in 000000FF"));
        QVERIFY(!runtimeLog().contains(white));
        m_program->send("ATTENTION");
        QTRY_VERIFY(runtimeLog().contains(white));
        QCOMPARE(m_program->state()[u"strobeCount"], 1);
    }

    void runsItsRunningOrder()
    {
        const auto onDeck = [this](int cue) { return cues()[cue].toObject()[u"current"].toBool(); };
        m_program->send("RESET");
        m_program->send("CUE 2");
        QTRY_VERIFY(onDeck(1));
        QCOMPARE(m_program->state()[u"threshold"], u"normal"_s);
        // Stepping leaves the time alone.
        pressDeckKey(cuePrevKey);
        QTRY_VERIFY(onDeck(0));
        QCOMPARE(m_program->state()[u"threshold"], u"normal"_s);
        pressDeckKey(cueGoKey);
        QTRY_COMPARE(m_program->state()[u"threshold"], u"red"_s);
    }

    void soundsAtTheEnd()
    {
        m_program->send("GO 0.01");
        QByteArray sound;
        QTRY_VERIFY_WITH_TIMEOUT(
            (sound += m_recorder.readAll()).count('\0') < sound.size(), 20'000);
        QVERIFY2(!m_program->log().contains("failed to play"), m_program->log().constData());
    }

    void opensItsHelpFromTheMenu()
    {
        press(u"alt Right Right Right Down Return"_s);
        QTRY_COMPARE(m_server.focusedWindow(), u"Tarrow Help"_s);
        m_server.run(u"wmctrl -F -c \"Tarrow Help\""_s);
        QTRY_COMPARE(m_server.focusedWindow(), u"Tarrow"_s);
    }

    void endsWithItsConsole()
    {
        m_server.run(u"wmctrl -F -c Tarrow"_s);
        QVERIFY(m_program->endsWell());
        QTRY_COMPARE(m_bus.screenSaver().released, QList<uint> {FakeScreenSaver::cookie});
        QTRY_COMPARE(keysUnlike([](const StreamDeckRole&) { return StreamDeckImage::KeyFace(); }),
            QList<int>());
        QCOMPARE(
            QJsonDocument::fromJson(m_program->stored(RunningProgram::cuesKey)).array().size(), 2);
    }

private:
    void startSoundServer()
    {
        const QString socket = m_folder.filePath(u"sound"_s);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const QString& name : {u"HOME"_s, u"XDG_RUNTIME_DIR"_s, u"XDG_CONFIG_HOME"_s})
            environment.insert(name, m_folder.path());
        environment.insert(u"PULSE_SERVER"_s, u"unix:"_s + socket);
        m_soundServer.setProcessEnvironment(environment);
        m_soundServer.startCommand(
            u"pulseaudio -n --daemonize=no --exit-idle-time=-1 "
            "-L \"module-null-sink sink_name=silence\" "
            "-L \"module-native-protocol-unix auth-anonymous=1 socket=%1\""_s.arg(socket));
        QTRY_VERIFY(QFileInfo::exists(socket));
        m_recorder.setProcessEnvironment(environment);
        m_recorder.startCommand(u"parec -d silence.monitor --latency-msec=50"_s);
        QTRY_VERIFY2(
            m_recorder.bytesAvailable() > 0, m_soundServer.readAllStandardError().constData());
    }

    void pressDeckKey(int key)
    {
        m_decks.sendReport(0, keyReport(m_deck, {key}));
        m_decks.sendReport(0, keyReport(m_deck));
    }

    void press(const QString& keys) const { m_server.run(u"xdotool key --delay 50 "_s + keys); }

    [[nodiscard]] QJsonArray cues()
    {
        return QJsonDocument::fromJson(m_program->webAnswer("/cues")).array();
    }

    /// What all outputs must show, by what a browser is told.
    [[nodiscard]] DisplaySnapshot toldSnapshot()
    {
        const QJsonObject told = m_program->state();
        const QStringList thresholds {u"normal"_s, u"amber"_s, u"red"_s};
        const QString message = told[u"message"].toString();
        return {
            .timeText = told[u"time"].toString(),
            .threshold =
                static_cast<TimeThreshold>(thresholds.indexOf(told[u"threshold"].toString())),
            .message = message.isEmpty() ? std::nullopt : std::optional(message),
            .isBlackout = told[u"blackout"].toBool(),
        };
    }

    [[nodiscard]] QImage paintedPicture(const DisplaySnapshot& snapshot) const
    {
        QImage picture(1920, 1080, QImage::Format_RGB32);
        QPainter painter(&picture);
        paintOutput(painter, picture.size(),
            {.snapshot = snapshot,
                .colors = OutputColors::of(m_settings, snapshot.threshold),
                .transition = MessageTransition::settled(snapshot.message)});
        return picture;
    }

    [[nodiscard]] QImage displayedPicture() const
    {
        const QString file = m_folder.filePath(u"display.bmp"_s);
        m_server.run(u"import -window root -crop 1920x1080+1440+0 +repage "_s + file);
        return QImage(file).convertToFormat(QImage::Format_RGB32);
    }

    /// The icon of the window that has the focus.
    [[nodiscard]] QImage icon() const
    {
        const QString window = m_server.run(u"xdotool getactivewindow"_s).trimmed();
        const QString property =
            m_server.run(u"xprop -id %1 -len 4000000 -notype 32c _NET_WM_ICON"_s.arg(window));
        const QStringList numbers = property.section(u'=', 1).split(u',');
        QImage image(numbers.value(0).toInt(), numbers.value(1).toInt(), QImage::Format_ARGB32);
        if (numbers.size() != 2 + image.width() * image.height())
            return {};
        for (int pixel = 0; pixel < image.width() * image.height(); ++pixel) {
            image.setPixel(
                pixel % image.width(), pixel / image.width(), numbers[2 + pixel].toUInt());
        }
        return image;
    }

    /// The keys that do not show what they should, by their roles.
    [[nodiscard]] QList<int> keysUnlike(
        const std::function<StreamDeckImage::KeyFace(const StreamDeckRole&)>& expected)
    {
        const QByteArray written = m_decks.takeAll(0);
        for (qsizetype at = 0; at + deckReport <= written.size(); at += deckReport) {
            const QByteArray report = written.sliced(at, deckReport);
            m_partOfPicture += report.sliced(8, quint8(report[4]) | quint8(report[5]) << 8);
            if (const int key = completedKey(report); key >= 0)
                m_keyPictures[key] = std::exchange(m_partOfPicture, {});
        }
        const QList<StreamDeckRole> roles = defaultRoles(m_deck);
        QList<int> unlike;
        for (int key = 0; key < roles.size(); ++key) {
            const QImage face = StreamDeckImage::render(expected(roles[key]), m_deck.keyPixels);
            if (m_keyPictures[m_deck.mirroredKey(key)] != StreamDeckImage::encode(face, m_deck))
                unlike.append(key);
        }
        return unlike;
    }

    [[nodiscard]] QByteArray runtimeLog() const
    {
        QFile file(m_folder.filePath(u"ndi"_s));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir m_folder;
    XServer m_server;
    SessionBus m_bus {SessionBus::Services::screenSaver};
    FakeDecks m_decks;
    QProcess m_soundServer;
    QProcess m_recorder;
    std::unique_ptr<RunningProgram> m_program;

    const StreamDeckModel m_deck = *StreamDeckModel::model(deckProduct);
    /// The last picture of each key of the deck, as the device counts them.
    QMap<int, QByteArray> m_keyPictures;
    QByteArray m_partOfPicture;

    MemoryPreferences m_preferences;
    /// With the defaults, which are the program's.
    const AppSettings m_settings {m_preferences};
};

QTEST_MAIN(InstalledProgramTest)
#include "tst_InstalledProgram.moc"
