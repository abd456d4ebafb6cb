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
    void roundsHalvesAwayFromZero_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<qint64>("expected");

        QTest::newRow("half") << 2.5 << qint64(3);
        QTest::newRow("negative half") << -2.5 << qint64(-3);
        QTest::newRow("just below a half") << 0.49999999999999994 << qint64(0);
        QTest::newRow("largest double below 2^63")
            << 9223372036854774784.0 << qint64(9223372036854774784);
    }
    void roundsHalvesAwayFromZero()
    {
        QFETCH(double, value);
        QTEST(checkedRound(value, "a value"), "expected");
    }

    void stopsOnWhatIsNoInteger_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<QByteArray>("named");

        QTest::newRow("nan") << std::numeric_limits<double>::quiet_NaN() << QByteArray("nan");
        QTest::newRow("-inf") << -std::numeric_limits<double>::infinity() << QByteArray("-inf");
        QTest::newRow("2^63") << 9223372036854775808.0 << QByteArray("9223372036854776000");
        QTest::newRow("far out") << -1e300 << QByteArray("-1e+300");
    }
    void stopsOnWhatIsNoInteger()
    {
        QFETCH(double, value);
        QFETCH(QByteArray, named);

        const ChildResult result = runInChild([&] { (void)checkedRound(value, "a duration"); });
        QCOMPARE(result.signal, SIGABRT);
        QCOMPARE(result.standardError.count('\n'), 1);
        QVERIFY2(result.standardError.contains("fatal: a duration is " + named + ","),
            result.standardError.constData());
    }

    void subtractionThatDoesNotFitStops()
    {
        QCOMPARE(checkedSubtract(smallest + 1, 1, "an index"), smallest);
        const ChildResult result =
            runInChild([] { (void)checkedSubtract(smallest, 1, "an index"); });
        QCOMPARE(result.signal, SIGABRT);
        QVERIFY2(result.standardError.contains("fatal: an index is -9223372036854775808 - 1,"),
            result.standardError.constData());
    }

    void saturates_data()
    {
        QTest::addColumn<qint64>("actual");
        QTest::addColumn<qint64>("expected");

        QTest::newRow("in range") << saturatingAdd(-2, 5) << qint64(3);
        QTest::newRow("up") << saturatingAdd(largest, 60) << largest;
        QTest::newRow("down") << saturatingAdd(smallest, -60) << smallest;
        QTest::newRow("up by subtracting") << saturatingSubtract(largest, -1) << largest;
        QTest::newRow("down by subtracting") << saturatingSubtract(-2, largest) << smallest;
        QTest::newRow("to the very end") << saturatingSubtract(-1, largest) << smallest;
    }
    void saturates()
    {
        QFETCH(qint64, actual);
        QTEST(actual, "expected");
        QCOMPARE(magnitude(smallest), quint64(largest) + 1);
    }
};

QTEST_GUILESS_MAIN(CheckedConversionsTest)
#include "tst_CheckedConversions.moc"
