// A socket without a process has inode 0, or no row at all, in /proc/net/tcp (proc(5)):
//
//   sl local_address rem_address st tx_queue:rx_queue tr:tm->when retrnsmt uid timeout inode ...
//    7: 0100007F:D2F4 0100007F:2700 05 00000000:00000000 00:00000000 00000000 1000 0 0 ...
#include "quon/transport/client_presence.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <string>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

namespace Quon::Transport::PicoHttp {

namespace {

// An address in the form of the rows: each 32 bits of it as a number in host byte order.
struct RowAddress {
    explicit RowAddress(const sockaddr_storage& address) {
        std::array<char, 48> text{};
        if (address.ss_family == AF_INET) {
            const auto& in4 = reinterpret_cast<const sockaddr_in&>(address);
            (void)std::snprintf(text.data(), text.size(), "%08X:%04X", in4.sin_addr.s_addr,
                                ntohs(in4.sin_port));
            plain = text.data();
            mapped = "0000000000000000FFFF0000" + plain;
            return;
        }
        const auto& in6 = reinterpret_cast<const sockaddr_in6&>(address);
        const auto& words = in6.sin6_addr.s6_addr32;
        (void)std::snprintf(text.data(), text.size(), "%08X%08X%08X%08X:%04X", words[0], words[1],
                            words[2], words[3], ntohs(in6.sin6_port));
        plain = text.data();
    }

    bool operator==(const char* row) const { return row == plain || row == mapped; }

    std::string plain;
    std::string mapped;  // an IPv4 address as an IPv6 socket shows it
};

bool HasProcess(const RowAddress& local, const RowAddress& remote) {
    bool sawRows = false;
    for (const char* const path : {"/proc/net/tcp", "/proc/net/tcp6"}) {
        std::ifstream file(path);
        for (std::string line; std::getline(file, line);) {
            std::array<char, 48> rowLocal{};
            std::array<char, 48> rowRemote{};
            unsigned long inode = 0;
            sawRows = true;
            if (std::sscanf(line.c_str(), "%*d: %47s %47s %*s %*s %*s %*s %*s %*s %lu",
                            rowLocal.data(), rowRemote.data(), &inode) == 3 &&
                local == rowLocal.data() && remote == rowRemote.data()) {
                return inode != 0;
            }
        }
    }
    return !sawRows;
}

}  // namespace

bool HasClientLeft(int socket) {
    pollfd state{.fd = socket, .events = POLLRDHUP, .revents = 0};
    (void)::poll(&state, 1, 0);  // a failure leaves revents 0
    if ((state.revents & (POLLERR | POLLHUP)) != 0) {
        return true;
    }
    if ((state.revents & POLLRDHUP) == 0) {
        return false;
    }
    sockaddr_storage client{};
    sockaddr_storage server{};
    socklen_t clientSize = sizeof(client);
    socklen_t serverSize = sizeof(server);
    return ::getpeername(socket, reinterpret_cast<sockaddr*>(&client), &clientSize) != 0 ||
           ::getsockname(socket, reinterpret_cast<sockaddr*>(&server), &serverSize) != 0 ||
           !HasProcess(RowAddress(client), RowAddress(server));
}

}  // namespace Quon::Transport::PicoHttp
