#include "Support/ControlLog.h"

#include "helpers/ChildProcess.h"

#include <QRegularExpression>
#include <QTest>

#include <array>

#include <unistd.h>

using namespace Qt::StringLiterals;

class ControlLogTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void neverWaitsForAReaderThatStopped()
    {
        constexpr int lines = 5000;
        const ChildResult result = runInChild([] {
            const int report = dup(STDERR_FILENO);
            std::array<int, 2> ends {};
            if (pipe(ends.data()) != 0)
                qFatal("cannot make a pipe");
            dup2(ends[1], STDERR_FILENO);
            const auto readAll = [&] {
                std::array<char, 1 << 17> buffer {};
                const ssize_t count = read(ends[0], buffer.data(), buffer.size());
                (void)!write(report, buffer.data(), static_cast<size_t>(count));
            };
            for (int i = 0; i < lines; ++i)
                qCInfo(controlLog, "line %d of more than a pipe holds", i);
            readAll();
            qCInfo(controlLog, "the reader is back");
            readAll();
        });
        const QByteArray& read = result.standardError;
        static const QRegularExpression notice(u"(\\d+) log lines dropped"_s);
        const int dropped = notice.match(QString::fromUtf8(read)).captured(1).toInt();
        QCOMPARE_GT(dropped, 0);
        // What was cut short by the full pipe counts as dropped.
        QCOMPARE(read.count("holds\n") + dropped, lines);
        static const QRegularExpression last(
            u"\\n\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} info "
            "com\\.quillfen\\.tarrow\\.control: the reader is back\n\\z"_s);
        QVERIFY2(last.match(QString::fromUtf8(read)).hasMatch(), read.last(200).constData());
    }
};

QTEST_GUILESS_MAIN(ControlLogTest)
#include "tst_ControlLog.moc"
