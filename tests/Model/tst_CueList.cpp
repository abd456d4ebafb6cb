#include <QTest>

class CueListTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
};

QTEST_GUILESS_MAIN(CueListTest)
#include "tst_CueList.moc"
