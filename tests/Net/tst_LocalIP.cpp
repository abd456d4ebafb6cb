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
        const auto add = [](const char* name, const QList<InterfaceAddress>& candidates,
                             const std::optional<QString>& address) {
            QTest::newRow(name) << candidates << address;
        };
        const auto with = [](InterfaceAddress address, bool InterfaceAddress::*flag, bool value) {
            address.*flag = value;
            return address;
        };
        using Address = InterfaceAddress;
        const Address loopback {u"lo"_s, true, true, true, u"127.0.0.1"_s};
        const Address wired {u"eth0"_s, true, true, false, u"198.51.100.5"_s};
        const Address wireless {u"wlan0"_s, true, true, false, u"203.0.113.9"_s};
        const Address en0 {u"en0"_s, true, true, false, u"192.0.2.20"_s};
        const Address wiredDown = with(wired, &Address::isUp, false);
        const Address wirelessIdle = with(wireless, &Address::isRunning, false);
        const Address en0Down = with(en0, &Address::isUp, false);
        const Address en0Loopback = with(en0, &Address::isLoopback, true);

        add("nothing", {}, std::nullopt);
        add("none usable", {wiredDown, wirelessIdle, loopback}, std::nullopt);
        add("en0 last", {loopback, wired, wireless, en0}, en0.address);
        add("no en0", {loopback, wired, wireless}, wired.address);
        add("down", {wiredDown, wireless}, wireless.address);
        add("en0 down", {wired, en0Down}, wired.address);
        add("en0 is loopback", {en0Loopback, wired}, wired.address);
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
