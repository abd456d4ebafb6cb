#pragma once

#include <QString>

/// What the sockets of this platform have in common. All are non-blocking, and closed in children.

/// The system's words for an error number, and for the last error.
[[nodiscard]] QString errorText(int error);
[[nodiscard]] QString lastError();

/// Every option set with it makes a socket better and none makes it work, so failure is no matter.
void setOption(int descriptor, int level, int option, int value);

/// A socket of the type (SOCK_DGRAM, SOCK_STREAM) bound to a port of every interface: of IPv6 and
/// IPv4 alike, or of IPv4 where the system knows no other. Port 0 takes any free port. -1 on
/// failure, with errno set.
[[nodiscard]] int openBoundSocket(int type, quint16 port);

/// 0 when there is none.
[[nodiscard]] quint16 boundPort(int descriptor);
