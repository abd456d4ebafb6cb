#include "Windows/WindowPlacement.h"

#include <QTest>

/// The console's frame on a visible area that begins below a panel of the desktop. The area ends at
/// 900, and the gap begins at 892.
class WindowPlacementTest : public QObject {
    Q_OBJECT

    static constexpr QRect area {100, 30, 1440, 870};

private Q_SLOTS:
    void docks()
    {
        QCOMPARE(dockedFrame(area, {342, 355}), QRect(1198, 30, 342, 355));
        QCOMPARE(dockedFrame(area, {342, 2000}), QRect(1198, 30, 342, 862));
    }

    void resizes()
    {
        const auto resized = [](int top, int height) {
            return resizedFrame(QRect(500, top, 342, 355), area, height);
        };
        QCOMPARE(resized(60, 700), QRect(500, 60, 342, 700));
        QCOMPARE(resized(192, 700), QRect(500, 192, 342, 700));
        QCOMPARE(resized(193, 700), QRect(500, 192, 342, 700));
        QCOMPARE(resized(10, 700), QRect(500, 30, 342, 700));
        QCOMPARE(resized(60, 2000), QRect(500, 30, 342, 862));
    }
};

QTEST_GUILESS_MAIN(WindowPlacementTest)
#include "tst_WindowPlacement.moc"
