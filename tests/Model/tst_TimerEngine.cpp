#include <QTest>

class TimerEngineTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
};

QTEST_GUILESS_MAIN(TimerEngineTest)
#include "tst_TimerEngine.moc"
