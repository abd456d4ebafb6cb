#include <QTest>

class CheckedConversionsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
};

QTEST_GUILESS_MAIN(CheckedConversionsTest)
#include "tst_CheckedConversions.moc"
