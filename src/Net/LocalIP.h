#pragma once

#include "Platform/NetworkInterfaces.h"

#include <optional>

namespace LocalIP {

/// The machine's address on the local network, IPv4 in dotted decimal: the one of "en0" if that
/// is up and running, otherwise the first that is up, running and no loopback.
[[nodiscard]] std::optional<QString> address();

/// The same choice among given addresses.
[[nodiscard]] std::optional<QString> address(const QList<InterfaceAddress>& candidates);

} // namespace LocalIP
