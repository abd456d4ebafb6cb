#include <QTest>

class ProgramTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
};

QTEST_GUILESS_MAIN(ProgramTest)
#include "tst_Program.moc"
