#include "Windows/WindowPlacement.h"

#include <QTest>

/// The console's frame on a visible area that begins below a panel of the desktop.
class WindowPlacementTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void docks();
    void resizes_data();
    void resizes();

private:
    static constexpr QRect area {100, 30, 1440, 870};
};

void WindowPlacementTest::docks()
{
    QCOMPARE(dockedFrame(area, {342, 355}), QRect(1198, 30, 342, 355));
    QCOMPARE(dockedFrame(area, {342, 2000}), QRect(1198, 30, 342, 862));
}

void WindowPlacementTest::resizes_data()
{
    QTest::addColumn<int>("top");
    QTest::addColumn<int>("height");
    QTest::addColumn<QRect>("expected");

    // The area ends at 900, and the gap begins at 892.
    QTest::newRow("grows downwards") << 60 << 700 << QRect(500, 60, 342, 700);
    QTest::newRow("just fits") << 192 << 700 << QRect(500, 192, 342, 700);
    QTest::newRow("near the bottom") << 193 << 700 << QRect(500, 192, 342, 700);
    QTest::newRow("above the area") << 10 << 700 << QRect(500, 30, 342, 700);
    QTest::newRow("taller than the area") << 60 << 2000 << QRect(500, 30, 342, 862);
}

void WindowPlacementTest::resizes()
{
    QFETCH(int, top);
    QFETCH(int, height);
    QFETCH(QRect, expected);

    QCOMPARE(resizedFrame(QRect(500, top, 342, 355), area, height), expected);
}

QTEST_GUILESS_MAIN(WindowPlacementTest)
#include "tst_WindowPlacement.moc"
