#include <QTest>

class ControlLogTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
};

QTEST_GUILESS_MAIN(ControlLogTest)
#include "tst_ControlLog.moc"
