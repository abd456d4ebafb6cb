#include "Net/LocalIP.h"

#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;

class LocalIPTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void choosesTheAddress_data()
    {
        QTest::addColumn<QList<InterfaceAddress>>("candidates");
        QTest::addColumn<std::optional<QString>>("address");
        const auto row = [](const char* name, const QList<InterfaceAddress>& candidates,
                             const std::optional<QString>& address) {
            QTest::newRow(name) << candidates << address;
        };
        using Address = InterfaceAddress;
        // Up, running, loopback.
        const Address loopback {u"lo"_s, true, true, true, u"127.0.0.1"_s};
        const Address down {u"en0"_s, false, true, false, u"198.51.100.4"_s};
        const Address idle {u"en0"_s, true, false, false, u"198.51.100.5"_s};
        const Address wired {u"eth0"_s, true, true, false, u"203.0.113.8"_s};
        const Address wireless {u"wlan0"_s, true, true, false, u"203.0.113.9"_s};
        const Address en0 {u"en0"_s, true, true, false, u"192.0.2.20"_s};

        row("none usable", {down, idle, loopback}, std::nullopt);
        row("en0 last", {loopback, wired, wireless, en0}, en0.address);
        row("no en0", {loopback, down, idle, wired, wireless}, wired.address);
    }
    void choosesTheAddress()
    {
        QFETCH(const QList<InterfaceAddress>, candidates);
        QTEST(LocalIP::address(candidates), "address");
    }

    void readsThisMachine()
    {
        const auto isLocalhost = [](const InterfaceAddress& each) {
            return each.address == u"127.0.0.1" && each.isUp && each.isRunning && each.isLoopback;
        };
        QVERIFY(std::ranges::any_of(ipv4InterfaceAddresses(), isLocalhost));
        QVERIFY(!LocalIP::address().value_or(QString()).startsWith(u"127."_s));
    }
};

QTEST_GUILESS_MAIN(LocalIPTest)
#include "tst_LocalIP.moc"
