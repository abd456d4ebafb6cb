#include <QTest>

class LocalIPTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
};

QTEST_GUILESS_MAIN(LocalIPTest)
#include "tst_LocalIP.moc"
