#include "Support/SystemPreferences.h"

#include "helpers/ChildProcess.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <csignal>

#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString documentKey = u"document"_s;

/// A document that shows whether it is whole: its number as often as its length says.
QByteArray documentNumber(int number)
{
    return QByteArray::number(number) + ":"
        + QByteArray("\"\0\xff,@", 5).repeated(200 + number % 7);
}

/// Nothing when the document is not whole.
std::optional<int> numberOf(const QByteArray& document)
{
    const int number = document.left(document.indexOf(':')).toInt();
    return document == documentNumber(number) ? std::optional(number) : std::nullopt;
}

} // namespace

/// Every test has a home of its own, and looks into the file from a process that has not seen it
/// before: within a process the settings are shared and remembered.
class PreferencesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_home->path());
        QDir(m_home->path()).mkdir(u"quillfen"_s);
    }

    void cleanup() { m_home.reset(); }

    void readsSwitchesAndNumbersStrictly_data()
    {
        using Boolean = std::optional<bool>;
        using Integer = std::optional<qint64>;
        QTest::addColumn<Boolean>("boolean");
        QTest::addColumn<Integer>("integer");
        QTest::newRow("true") << Boolean(true) << Integer();
        QTest::newRow("false") << Boolean(false) << Integer();
        QTest::newRow("1") << Boolean() << Integer(1);
        QTest::newRow("-70") << Boolean() << Integer(-70);
        for (const char* const strange :
            {"True", "1.5", "0x10", "9223372036854775808", "", "true, false", "@ByteArray(true)"})
            QTest::newRow(strange) << Boolean() << Integer();
    }
    void readsSwitchesAndNumbersStrictly()
    {
        const QByteArray written = QTest::currentDataTag();
        writeFile(u"quillfen/tarrow.conf"_s, "[General]\nsd.enabled=" + written + "\n");
        const SystemPreferences preferences;
        QTEST(preferences.boolean(u"sd.enabled"_s), "boolean");
        QTEST(preferences.integer(u"sd.enabled"_s), "integer");
        QCOMPARE(preferences.boolean(u"sd.other"_s), std::nullopt);
    }

    void keepsEveryByte()
    {
        QByteArray everything("@ByteArray(");
        for (int byte = 0; byte < 256; ++byte)
            everything += static_cast<char>(byte);
        const QString text = u"true, \"Türen\" @öffnen\n"_s;

        const ChildResult writer = runInChild([&] {
            SystemPreferences preferences;
            preferences.setData(documentKey, everything);
            preferences.setText(u"text"_s, text);
            preferences.setBoolean(u"switch"_s, true);
            preferences.setInteger(u"number"_s, -5);
        });
        QCOMPARE(writer.standardError, QByteArray());
        const SystemPreferences preferences;
        QCOMPARE(preferences.data(documentKey), everything);
        QCOMPARE(preferences.text(u"text"_s), text);
        QCOMPARE(preferences.boolean(u"switch"_s), true);
        QCOMPARE(preferences.integer(u"number"_s), -5);
    }

    void survivesBeingKilled()
    {
        constexpr int kills = 100;
        constexpr int storedBeforeKill = 3;
        QRandomGenerator random(20261122);

        for (int round = 0, last = 0; round < kills; ++round) {
            std::array<int, 2> ends {};
            QCOMPARE(pipe(ends.data()), 0);
            const pid_t child = fork();
            if (child == 0) {
                SystemPreferences preferences;
                for (int number = last;; ++number) {
                    preferences.setData(documentKey, documentNumber(number));
                    (void)!write(ends[1], &number, sizeof number);
                }
            }
            close(ends[1]);
            for (int i = 0; i < storedBeforeKill; ++i)
                QCOMPARE(read(ends[0], &last, sizeof last), ssize_t(sizeof last));
            // So that the kill falls anywhere in the change under way.
            usleep(random.bounded(1500U));
            kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
            while (read(ends[0], &last, sizeof last) > 0) { }
            close(ends[0]);

            const ChildResult reader = runInChild([last] {
                const auto stored = SystemPreferences().data(documentKey).value_or(QByteArray());
                const std::optional<int> number = numberOf(stored);
                _exit(number == last || number == last + 1 ? 0 : 1);
            });
            QVERIFY2(reader.exitCode == 0, qPrintable(u"after %1 kills"_s.arg(round + 1)));
        }
    }

    /// Two at a time; and beside a name that no settings can store.
    void keepsWhatOthersStore()
    {
        constexpr int changes = 100;
        writeFile(u"quillfen/tarrow.conf"_s, "[General]\n=5\ntyped=here\n");
        std::array<pid_t, 2> writers {};
        for (size_t i = 0; i < writers.size(); ++i) {
            writers.at(i) = fork();
            if (writers.at(i) == 0) {
                SystemPreferences preferences;
                for (int number = 1; number <= changes; ++number)
                    preferences.setInteger(QString::number(i), number);
                _exit(0);
            }
        }
        for (const pid_t writer : writers)
            waitpid(writer, nullptr, 0);
        const SystemPreferences preferences;
        QCOMPARE(preferences.integer(u"0"_s), changes);
        QCOMPARE(preferences.integer(u"1"_s), changes);
        QCOMPARE(preferences.text(u"typed"_s), u"here"_s);
    }

    void clearsWhatAKilledProcessLeft()
    {
        writeFile(u"quillfen/tarrow.conf.new"_s, "[Gen");
        for (const QString& name : {u"tarrow.conf.lock"_s, u"tarrow.conf.new.lock"_s})
            writeFile(u"quillfen/"_s + name, {});
        SystemPreferences preferences;
        preferences.setBoolean(u"switch"_s, true);
        QCOMPARE(QDir(file(u"quillfen"_s)).entryList(QDir::Files), QStringList {u"tarrow.conf"_s});
    }

private:
    [[nodiscard]] QString file(const QString& name) const { return m_home->filePath(name); }

    void writeFile(const QString& name, const QByteArray& content) const
    {
        QFile target(file(name));
        QVERIFY(target.open(QIODevice::WriteOnly));
        target.write(content);
    }

    std::unique_ptr<QTemporaryDir> m_home;
};

QTEST_GUILESS_MAIN(PreferencesTest)
#include "tst_Preferences.moc"
