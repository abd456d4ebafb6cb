#include "Platform/linux/InternetSocket.h"

#include <cerrno>
#include <cstring>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int createSocket(int type, sa_family_t& family)
{
    family = AF_INET6;
    const int descriptor = socket(AF_INET6, type, 0);
    if (descriptor >= 0 || errno != EAFNOSUPPORT)
        return descriptor;
    family = AF_INET;
    return socket(AF_INET, type, 0);
}

bool bindTo(int descriptor, sa_family_t family, quint16 port)
{
    if (family == AF_INET) {
        sockaddr_in address {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        return bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }
    sockaddr_in6 address {};
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(port);
    return bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

} // namespace

QString errorText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

QString lastError()
{
    return errorText(errno);
}

void setOption(int descriptor, int level, int option, int value)
{
    setsockopt(descriptor, level, option, &value, sizeof value);
}

int openBoundSocket(int type, quint16 port)
{
    sa_family_t family = AF_INET6;
    const int descriptor = createSocket(type | SOCK_NONBLOCK | SOCK_CLOEXEC, family);
    if (descriptor < 0)
        return -1;
    // With the option, "any free port" may be one that another sharing socket has already.
    if (port != 0)
        setOption(descriptor, SOL_SOCKET, SO_REUSEADDR, 1);
    if (family == AF_INET6)
        setOption(descriptor, IPPROTO_IPV6, IPV6_V6ONLY, 0);
    if (bindTo(descriptor, family, port))
        return descriptor;
    const int error = errno;
    close(descriptor);
    errno = error;
    return -1;
}

quint16 boundPort(int descriptor)
{
    sockaddr_in6 address {};
    socklen_t length = sizeof address;
    if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        return 0;
    static_assert(offsetof(sockaddr_in, sin_port) == offsetof(sockaddr_in6, sin6_port));
    return ntohs(address.sin6_port);
}
