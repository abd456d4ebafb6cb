// Receives datagrams and throws them away: what the program's listener is compared with.
//
// Usage: datagram_sink [LINE]
//
// Prints the port it has bound, then receives until it is killed. With a LINE, writes that line
// to standard error for every datagram.

#include <array>
#include <cstdio>
#include <string>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

int main(int argc, char* argv[])
{
    const int descriptor = socket(AF_INET6, SOCK_DGRAM, 0);
    const int off = 0;
    const int bufferSize = 4 * 1024 * 1024;
    setsockopt(descriptor, IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof off);
    setsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &bufferSize, sizeof bufferSize);
    sockaddr_in6 address {};
    address.sin6_family = AF_INET6;
    socklen_t length = sizeof address;
    if (bind(descriptor, reinterpret_cast<sockaddr*>(&address), length) != 0
        || getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        std::perror("datagram_sink");
        return 1;
    }
    std::printf("port %d\n", ntohs(address.sin6_port));
    std::fflush(stdout);

    const std::string line = argc > 1 ? std::string(argv[1]) + '\n' : std::string();
    std::array<char, 65536> buffer {};
    for (;;) {
        sockaddr_in6 sender {};
        socklen_t senderLength = sizeof sender;
        if (recvfrom(descriptor, buffer.data(), buffer.size(), 0,
                reinterpret_cast<sockaddr*>(&sender), &senderLength)
            < 0)
            return 1;
        if (!line.empty() && write(STDERR_FILENO, line.data(), line.size()) < 0)
            return 1;
    }
}
