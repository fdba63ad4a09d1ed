// Finds the processes that listen on a TCP port of this host, from /proc (proc(5), /proc/net/tcp):
//
//     sl  local_address rem_address   st tx_queue:rx_queue tr:tm->when retrnsmt   uid timeout inode
//      0: 0100007F:270C 00000000:0000 0A 00000000:00000000 00:00000000 00000000   998       0 23456
//
// Addresses are groups of four bytes, each group written as a number in the machine's byte order.
// Listening sockets come first.
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
        Loopback,    // reachable only by programs of this host
        AnyAddress,  // reachable at every address of this host
        OneAddress   // reachable at this address
    };
    std::string address;  // "127.0.0.1", "::1"
    Reach reach = Reach::OneAddress;
    std::uint16_t port = 0;
    uid_t user = 0;  // the user that created it
    std::uint64_t inode = 0;
};

// The sockets of this process's network namespace, IPv4 first; none if /proc cannot be read. Stops
// after a socket bound to `address`, if one is given.
std::vector<ListeningSocket> FindListeningSockets(std::uint16_t port,
                                                  std::string_view address = {});

// The sockets that listen on `port` according to a text in the form above. Skips malformed lines.
std::vector<ListeningSocket> ParseListeningSockets(std::string_view text, std::uint16_t port);

// The ports that a process listens on, as far as this user may see its descriptors.
std::vector<std::uint16_t> FindListeningPorts(pid_t process);

// The process that holds one of the sockets; nothing if none does, or if this user may not see its
// descriptors. Searches processes with the name `likelyName` first.
std::optional<pid_t> FindOwner(const std::vector<ListeningSocket>& sockets,
                               std::string_view likelyName);

}  // namespace Ctl
