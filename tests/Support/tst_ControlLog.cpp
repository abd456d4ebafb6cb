#include "Support/ControlLog.h"

#include "helpers/ChildProcess.h"

#include <QRegularExpression>
#include <QTest>

#include <array>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// Standard error replaced by a pipe that is read when the test wants to.
class UnreadStandardError {
public:
    UnreadStandardError()
        : m_original(dup(STDERR_FILENO))
    {
        if (pipe2(m_ends.data(), O_CLOEXEC) != 0)
            qFatal("cannot make a pipe");
        fcntl(m_ends[0], F_SETFL, O_NONBLOCK);
        dup2(m_ends[1], STDERR_FILENO);
    }

    UnreadStandardError(const UnreadStandardError&) = delete;
    UnreadStandardError& operator=(const UnreadStandardError&) = delete;

    ~UnreadStandardError()
    {
        dup2(m_original, STDERR_FILENO);
        for (const int descriptor : {m_original, m_ends[0], m_ends[1]})
            close(descriptor);
    }

    [[nodiscard]] QByteArray readAll() const
    {
        QByteArray result;
        std::array<char, 65536> buffer {};
        for (ssize_t count = 0; (count = read(m_ends[0], buffer.data(), buffer.size())) > 0;)
            result.append(buffer.data(), count);
        return result;
    }

private:
    int m_original;
    std::array<int, 2> m_ends {};
};

} // namespace

class ControlLogTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void writesOneLineForEachMessage()
    {
        const ChildResult result = runInChild([] {
            qCInfo(controlLog, "command stop");
            qCCritical(controlLog, "broken");
            qWarning("from elsewhere");
        });
        static const QRegularExpression form(
            u"\\A(?<time>\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} )"
            "info com\\.quillfen\\.tarrow\\.control: command stop\n"
            "(?&time)error com\\.quillfen\\.tarrow\\.control: broken\n"
            "(?&time)warning: from elsewhere\n\\z"_s);
        QVERIFY2(form.match(QString::fromUtf8(result.standardError)).hasMatch(),
            result.standardError.constData());
    }

    void neverWaitsForAReaderThatStopped()
    {
        constexpr int lines = 5000;
        const UnreadStandardError standardError;
        const QtMessageHandler original = qInstallMessageHandler(nullptr);
        installLogOutput();

        for (int i = 0; i < lines; ++i)
            qCInfo(controlLog, "line %d of more than a pipe holds", i);
        const QByteArray before = standardError.readAll();
        qCInfo(controlLog, "the reader is back");
        const QByteArray after = standardError.readAll();
        qInstallMessageHandler(original);

        static const QRegularExpression notice(u"(\\d+) log lines dropped"_s);
        const int dropped = notice.match(QString::fromUtf8(after)).captured(1).toInt();
        QCOMPARE_GT(dropped, 0);
        // What was cut short by the full pipe counts as dropped.
        QCOMPARE(before.count("holds\n") + dropped, lines);
        QVERIFY(after.endsWith("the reader is back\n"));
    }
};

QTEST_GUILESS_MAIN(ControlLogTest)
#include "tst_ControlLog.moc"
