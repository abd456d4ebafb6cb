#include <QTest>

class UDPServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
};

QTEST_GUILESS_MAIN(UDPServerTest)
#include "tst_UDPServer.moc"
