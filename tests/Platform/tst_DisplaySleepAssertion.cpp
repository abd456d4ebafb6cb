#include <QTest>

class DisplaySleepAssertionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
};

QTEST_GUILESS_MAIN(DisplaySleepAssertionTest)
#include "tst_DisplaySleepAssertion.moc"
