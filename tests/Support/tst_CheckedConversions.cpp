#include "Support/CheckedConversions.h"

#include "helpers/ChildProcess.h"

#include <QTest>

#include <csignal>
#include <limits>

namespace {

constexpr qint64 smallest = std::numeric_limits<qint64>::min();
constexpr qint64 largest = std::numeric_limits<qint64>::max();

} // namespace

class CheckedConversionsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void roundsHalvesAwayFromZero()
    {
        QCOMPARE(checkedRound(2.5, "a value"), 3);
        QCOMPARE(checkedRound(-2.5, "a value"), -3);
        QCOMPARE(checkedRound(0.49999999999999994, "a value"), 0);
        // The largest below 2^63.
        QCOMPARE(checkedRound(9223372036854774784.0, "a value"), 9223372036854774784);
    }

    void stopsOnWhatIsNoInteger()
    {
        const ChildResult result = runInChild([] { (void)checkedRound(0x1p63, "a duration"); });
        QCOMPARE(result.signal, SIGABRT);
        QCOMPARE(result.standardError.count('\n'), 1);
        QVERIFY2(result.standardError.contains("fatal: a duration is 9223372036854776000,"),
            result.standardError.constData());
    }

    void saturates()
    {
        QCOMPARE(saturatingAdd(-2, 5), 3);
        QCOMPARE(saturatingAdd(largest, 60), largest);
        QCOMPARE(saturatingAdd(smallest, -60), smallest);
        QCOMPARE(saturatingSubtract(largest, -1), largest);
        QCOMPARE(saturatingSubtract(-2, largest), smallest);
        QCOMPARE(saturatingSubtract(-1, largest), smallest);
        QCOMPARE(magnitude(smallest), quint64(largest) + 1);
    }
};

QTEST_GUILESS_MAIN(CheckedConversionsTest)
#include "tst_CheckedConversions.moc"
