#include "ctl/host/port_holder.h"

#include "core/settings/settings.h"
#include "ctl/host/daemon_process.h"
#include "ctl/host/process_stat.h"
#include "ctl/host/run_user.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <optional>
#include <string_view>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <pwd.h>
#include <unistd.h>

namespace Ctl {

namespace {

constexpr const char* kEndIt = "end that process, then run \"systemctl restart sentrel\"";
constexpr std::string_view kMapped = "::ffff:";  // before an IPv4 address

struct Endpoint {
    std::string address;  // in IPv4 form if it is an IPv4-mapped IPv6 address
    std::uint16_t port = 0;

    bool IsLoopback() const { return address.starts_with("127.") || address == "::1"; }
};

std::string_view WithoutMapping(std::string_view address) {
    return address.substr(address.starts_with(kMapped) ? kMapped.size() : 0);
}

Endpoint EndpointOf(const sockaddr_storage& peer) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    in_port_t port = 0;
    if (peer.ss_family == AF_INET) {
        sockaddr_in address{};
        std::memcpy(&address, &peer, sizeof address);
        port = address.sin_port;
        (void)::inet_ntop(AF_INET, &address.sin_addr, text.data(), text.size());  // fits
    } else if (peer.ss_family == AF_INET6) {
        sockaddr_in6 address{};
        std::memcpy(&address, &peer, sizeof address);
        port = address.sin6_port;
        (void)::inet_ntop(AF_INET6, &address.sin6_addr, text.data(), text.size());  // fits
    }
    return {std::string(WithoutMapping(text.data())), ntohs(port)};
}

// The sockets that can have accepted a connection to the address: those bound to it, or else those
// bound to every address.
std::vector<ListeningSocket> FindTakers(const Endpoint& peer) {
    const std::vector<ListeningSocket> sockets = FindListeningSockets(peer.port, peer.address);
    std::vector<ListeningSocket> takers;
    std::copy_if(
        sockets.begin(), sockets.end(), std::back_inserter(takers),
        [&peer](const auto& socket) { return WithoutMapping(socket.address) == peer.address; });
    if (takers.empty()) {
        std::copy_if(
            sockets.begin(), sockets.end(), std::back_inserter(takers),
            [](const auto& socket) { return socket.reach == ListeningSocket::Reach::AnyAddress; });
    }
    return takers;
}

bool IsTrusted(uid_t user) {
    if (user == 0 || user == ::geteuid()) {
        return true;
    }
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread asks for users
    const passwd* const sentrel = ::getpwnam(std::string(kDaemonName).c_str());
    return sentrel != nullptr && sentrel->pw_uid == user;
}

}  // namespace

std::string DescribeHolder(const std::vector<ListeningSocket>& sockets) {
    if (sockets.empty()) {
        return "a process that this user cannot identify";
    }
    const std::optional<pid_t> pid = FindOwner(sockets, kDaemonName);
    const std::optional<ProcessStat> process = pid ? ReadProcessStat(*pid) : std::nullopt;
    const std::optional<std::string> root = pid ? OtherRootOf(*pid) : std::nullopt;
    return (process ? "process " + std::to_string(process->pid) + " (" + process->name + ")"
                    : "a process") +
           " of user " + NameOfUser(sockets.front().user) +
           (root ? ", whose host root is " + *root : "");
}

std::string StrangerOn(std::uint16_t port) {
    // One at a time: sentrel may hold 127.0.0.1 and a stranger ::1.
    for (const ListeningSocket& socket : FindListeningSockets(port)) {
        const std::optional<pid_t> pid = FindOwner({socket}, kDaemonName);
        const std::optional<ProcessStat> process = pid ? ReadProcessStat(*pid) : std::nullopt;
        if (process && process->name != kDaemonName) {
            return DescribeHolder({socket});
        }
    }
    return "";
}

void RequireTrustedListener(const sockaddr_storage& peer) {
    const Endpoint endpoint = EndpointOf(peer);
    if (!endpoint.IsLoopback()) {
        return;
    }
    std::vector<ListeningSocket> takers = FindTakers(endpoint);
    if (takers.empty()) {
        takers = FindTakers(
            endpoint);  // read again: a list that changes while it is read may lack a socket
    }
    const std::optional<pid_t> taker = FindOwner(takers, kDaemonName);
    const std::optional<std::string> root = taker ? OtherRootOf(*taker) : std::nullopt;
    if (root) {
        throw UntrustedListener(
            "port " + std::to_string(endpoint.port) + " is held by " + DescribeHolder(takers),
            "use --root " + *root + ", or stop that sentrel");
    }
    const auto stranger = std::find_if(takers.begin(), takers.end(),
                                       [](const auto& socket) { return !IsTrusted(socket.user); });
    if (!takers.empty() && stranger == takers.end()) {
        return;
    }
    const std::vector<ListeningSocket> strangers(stranger, takers.end());
    const std::optional<pid_t> pid = FindOwner(strangers, kDaemonName);
    const std::optional<ProcessStat> process = pid ? ReadProcessStat(*pid) : std::nullopt;
    if (process && process->name == kDaemonName) {
        throw UntrustedListener("port " + std::to_string(endpoint.port) + " of " +
                                    endpoint.address + " is held by " + DescribeHolder(strangers) +
                                    ", whose answers this user does not trust",
                                "run this as " + NameOfUser(strangers.front().user) +
                                    ", or run sentrel as root or as the user sentrel");
    }
    throw UntrustedListener("port " + std::to_string(endpoint.port) + " of " + endpoint.address +
                                " is held by " + DescribeHolder(strangers) + ", not by sentrel",
                            endpoint.port == Sentrel::kApiPort ? kFreeApiPort : kEndIt);
}

}  // namespace Ctl
