#include <QTest>

class CommandTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
};

QTEST_GUILESS_MAIN(CommandTest)
#include "tst_Command.moc"
