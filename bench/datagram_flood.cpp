// Sends datagrams to a port of this machine as fast as it can, for a bounded time.
//
// Usage: datagram_flood PORT TEXT SECONDS
//        datagram_flood PORT TEXT burst PEERS COUNT
//
// The second form sends COUNT datagrams back to back, in turn from each of PEERS sockets.
// Prints how many were sent.

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace {

int connectedSocket(int port)
{
    const int descriptor = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        std::exit(1);
    return descriptor;
}

long flood(int port, std::string& text, double seconds)
{
    constexpr size_t batch = 64;
    const int descriptor = connectedSocket(port);
    iovec vector {text.data(), text.size()};
    std::array<mmsghdr, batch> messages {};
    for (mmsghdr& message : messages) {
        message.msg_hdr.msg_iov = &vector;
        message.msg_hdr.msg_iovlen = 1;
    }
    using clock = std::chrono::steady_clock;
    const auto end = clock::now() + std::chrono::duration<double>(seconds);
    long sent = 0;
    while (clock::now() < end)
        sent += std::max(sendmmsg(descriptor, messages.data(), batch, 0), 0);
    return sent;
}

long burst(int port, const std::string& text, int peers, int count)
{
    std::vector<int> sockets(static_cast<size_t>(peers));
    for (int& descriptor : sockets)
        descriptor = connectedSocket(port);
    long sent = 0;
    for (int i = 0; i < count; ++i) {
        const int descriptor = sockets[static_cast<size_t>(i) % sockets.size()];
        if (send(descriptor, text.data(), text.size(), 0) >= 0)
            ++sent;
    }
    return sent;
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 4 && argc != 6)
        return 2;
    const int port = std::atoi(argv[1]);
    std::string text = argv[2];
    const long sent = argc == 6 ? burst(port, text, std::atoi(argv[4]), std::atoi(argv[5]))
                                : flood(port, text, std::atof(argv[3]));
    std::printf("%ld\n", sent);
    return 0;
}
