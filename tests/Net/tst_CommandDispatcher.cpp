#include <QTest>

class CommandDispatcherTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
};

QTEST_GUILESS_MAIN(CommandDispatcherTest)
#include "tst_CommandDispatcher.moc"
