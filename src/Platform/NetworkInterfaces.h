#pragma once

#include <QList>
#include <QString>

/// One IPv4 address that the machine has on one of its interfaces.
struct InterfaceAddress {
    QString interfaceName;
    bool isUp = false;
    bool isRunning = false;
    bool isLoopback = false;
    /// Dotted decimal.
    QString address;
};

/// All IPv4 addresses in the system's order; none when the system does not tell.
[[nodiscard]] QList<InterfaceAddress> ipv4InterfaceAddresses();
