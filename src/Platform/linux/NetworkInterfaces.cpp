#include "Platform/NetworkInterfaces.h"

#include <array>
#include <memory>

#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>

namespace {

QString numericHost(const sockaddr* address)
{
    std::array<char, NI_MAXHOST> host {};
    getnameinfo(address, sizeof(sockaddr_in), host.data(), host.size(), nullptr, 0, NI_NUMERICHOST);
    return QString::fromUtf8(host.data());
}

} // namespace

QList<InterfaceAddress> ipv4InterfaceAddresses()
{
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0)
        return {};
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> list(first, &freeifaddrs);

    QList<InterfaceAddress> addresses;
    for (const ifaddrs* entry = first; entry; entry = entry->ifa_next) {
        if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_INET)
            continue;
        addresses.append({
            .interfaceName = QString::fromUtf8(entry->ifa_name),
            .isUp = (entry->ifa_flags & IFF_UP) != 0,
            .isRunning = (entry->ifa_flags & IFF_RUNNING) != 0,
            .isLoopback = (entry->ifa_flags & IFF_LOOPBACK) != 0,
            .address = numericHost(entry->ifa_addr),
        });
    }
    return addresses;
}
