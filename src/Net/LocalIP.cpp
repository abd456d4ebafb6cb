#include "Net/LocalIP.h"

std::optional<QString> LocalIP::address()
{
    return address(ipv4InterfaceAddresses());
}

std::optional<QString> LocalIP::address(const QList<InterfaceAddress>& candidates)
{
    std::optional<QString> first;
    for (const InterfaceAddress& candidate : candidates) {
        if (!candidate.isUp || !candidate.isRunning || candidate.isLoopback)
            continue;
        if (candidate.interfaceName == u"en0")
            return candidate.address;
        if (!first)
            first = candidate.address;
    }
    return first;
}
