// Who listens on a TCP port of this host, as /proc tells it (proc(5), /proc/net/tcp):
//
//     sl  local_address rem_address   st tx_queue:rx_queue tr:tm->when retrnsmt   uid timeout inode
//      0: 0100007F:270C 00000000:0000 0A 00000000:00000000 00:00000000 00000000   998       0 23456
//
// Addresses are groups of four bytes, each group written as the number that the machine takes it
// for. Sockets that listen come first.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace Ctl {

struct ListeningSocket {
    enum class Reach {
        Loopback,    // this host's programs alone
        AnyAddress,  // every host that reaches one of this host's addresses
        OneAddress   // those that reach this address
    };
    std::string address;  // "127.0.0.1", "::1"
    Reach reach = Reach::OneAddress;
    std::uint16_t port = 0;
    uid_t user = 0;  // who made it
    std::uint64_t inode = 0;
};

// Those of this process's network namespace, IPv4 first; none when /proc cannot be read.
std::vector<ListeningSocket> FindListeningSockets(std::uint16_t port);

// The sockets in one text of that form that listen on `port`. Lines that are none are left out.
std::vector<ListeningSocket> ParseListeningSockets(std::string_view text, std::uint16_t port);

// The ports that a process listens on, as far as this user may see its descriptors.
std::vector<std::uint16_t> FindListeningPorts(pid_t process);

// The process that holds one of the sockets; nothing when there is none, or when its descriptors
// may not be seen by this user. One that calls itself `likelyName` is found soonest.
std::optional<pid_t> FindOwner(const std::vector<ListeningSocket>& sockets,
                               std::string_view likelyName);

}  // namespace Ctl
