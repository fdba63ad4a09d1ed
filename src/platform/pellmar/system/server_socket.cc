// Finds the addresses of a name and listens on all of them or none. The HTTP service accepts.
#include "platform/pellmar/system/server_socket.h"

#include "platform/pellmar/exceptions.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <system_error>
#include <utility>

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <strings.h>
#include <sys/socket.h>

namespace Pellmar::System {

namespace {

// Pending connections; the kernel limits it to net.core.somaxconn.
constexpr int kListenBacklog = 1024;

struct Address {
    sockaddr_storage storage{};
    socklen_t length = 0;

    const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&storage); }
};

bool operator==(const Address& a, const Address& b) {
    return a.length == b.length && std::memcmp(&a.storage, &b.storage, a.length) == 0;
}

template <typename SocketAddress>
Address AddressOf(const SocketAddress& socketAddress, std::size_t length = sizeof(SocketAddress)) {
    Address address;
    std::memcpy(&address.storage, &socketAddress, length);
    address.length = static_cast<socklen_t>(length);
    return address;
}

std::string TextOf(const Address& address) {
    std::array<char, NI_MAXHOST> text{};
    if (::getnameinfo(address.Get(), address.length, text.data(), text.size(), nullptr, 0,
                      NI_NUMERICHOST) != 0) {
        return "an address without a text form";
    }
    return text.data();
}

bool IsLoopback(const Address& address) {
    if (address.storage.ss_family == AF_INET) {
        sockaddr_in v4{};
        std::memcpy(&v4, &address.storage, sizeof v4);
        return ntohl(v4.sin_addr.s_addr) >> 24 == IN_LOOPBACKNET;
    }
    sockaddr_in6 v6{};
    std::memcpy(&v6, &address.storage, sizeof v6);
    return std::memcmp(&v6.sin6_addr, &in6addr_loopback, sizeof v6.sin6_addr) == 0;
}

std::vector<Address> LoopbackAddresses(int port) {
    sockaddr_in v4{};
    v4.sin_family = AF_INET;
    v4.sin_port = htons(static_cast<std::uint16_t>(port));
    v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sockaddr_in6 v6{};
    v6.sin6_family = AF_INET6;
    v6.sin6_port = htons(static_cast<std::uint16_t>(port));
    v6.sin6_addr = in6addr_loopback;
    return {AddressOf(v4), AddressOf(v6)};
}

// Asks the host's resolver. Without AI_ADDRCONFIG, which ignores loopback addresses. If it returns
// nothing, `problem` says why.
std::vector<Address> Resolve(const std::string& host, int port, std::string& problem) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo* list = nullptr;
    const int result = ::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &list);
    if (result != 0) {
        problem = result == EAI_SYSTEM ? std::generic_category().message(errno)
                                       : std::string(::gai_strerror(result));
        return {};
    }
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owner(list, &::freeaddrinfo);
    std::vector<Address> addresses;
    for (const addrinfo* entry = list; entry != nullptr; entry = entry->ai_next) {
        addresses.push_back(AddressOf(*entry->ai_addr, entry->ai_addrlen));
    }
    return addresses;
}

// Without duplicates. The name "localhost" always means the loopback interface (RFC 6761 section
// 6.3) and nothing else, whatever the host's resolver says.
std::vector<Address> AddressesToListenOn(const std::string& host, int port) {
    std::string problem;
    std::vector<Address> addresses;
    const std::vector<Address> resolved = Resolve(host, port, problem);
    const bool isLocalhost = ::strcasecmp(host.c_str(), "localhost") == 0;
    if (isLocalhost) {
        addresses = LoopbackAddresses(port);
    } else if (resolved.empty()) {
        throw IOException("Cannot listen on " + host + " port " + std::to_string(port) +
                          ": the name does not resolve (" + problem + "); check its spelling");
    }
    for (const Address& address : resolved) {
        const bool isKnown =
            std::find(addresses.begin(), addresses.end(), address) != addresses.end();
        if (!isKnown && (!isLocalhost || IsLoopback(address))) {
            addresses.push_back(address);
        }
    }
    return addresses;
}

bool SetOption(int descriptor, int level, int option) {
    const int on = 1;
    return ::setsockopt(descriptor, level, option, &on, sizeof on) == 0;
}

// Returns 0 or the error number.
int Listen(const Address& address, Sys::OwnedFd& listener) {
    const int family = address.storage.ss_family;
    listener.Reset(::socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP));
    const int descriptor = listener.Get();
    const bool listens =
        listener.IsOpen() && SetOption(descriptor, SOL_SOCKET, SO_REUSEADDR) &&
        SetOption(descriptor, IPPROTO_TCP, TCP_NODELAY) &&  // inherited by accepted sockets
        (family != AF_INET6 || SetOption(descriptor, IPPROTO_IPV6, IPV6_V6ONLY)) &&
        ::bind(descriptor, address.Get(), address.length) == 0 &&
        ::listen(descriptor, kListenBacklog) == 0;
    return listens ? 0 : errno;
}

bool HostLacksFamily(const Address& address, int error) {
    return error == EAFNOSUPPORT ||
           (error == EADDRNOTAVAIL && address.storage.ss_family == AF_INET6);
}

std::string_view AdviceFor(int errorNumber) {
    switch (errorNumber) {
        case EADDRINUSE:
            return "; stop the process that holds the port (another instance of this one?) or "
                   "choose another port";
        case EACCES:
            return "; choose a port from 1024 on, or allow this process to use lower ones";
        case EADDRNOTAVAIL:
            return "; bring the network interface of that address up";
        default:
            return "";
    }
}

}  // namespace

void ServerSocket::BindAndListen(const std::string& host, int port) {
    if (port < 1 || port > 65535) {
        throw InvalidArgumentException("Cannot listen on " + host + " port " +
                                       std::to_string(port) +
                                       ": ports are 1 to 65535; choose one of them");
    }
    std::vector<Sys::OwnedFd> opened;
    std::string problem;
    for (const Address& address : AddressesToListenOn(host, port)) {
        Sys::OwnedFd listener;
        const int error = Listen(address, listener);
        if (error == 0) {
            opened.push_back(std::move(listener));
            continue;
        }
        problem = "Cannot listen on " + host + " port " + std::to_string(port) + " at " +
                  TextOf(address) + ": " + std::generic_category().message(error);
        problem += AdviceFor(error);
        if (!HostLacksFamily(address, error)) {
            throw IOException(problem);
        }
    }
    if (opened.empty()) {
        throw IOException(problem);
    }
    listeners = std::move(opened);
    text = "server socket on " + host + " port " + std::to_string(port);
}

std::vector<int> ServerSocket::GetDescriptors() const {
    std::vector<int> descriptors;
    for (const Sys::OwnedFd& listener : listeners) {
        descriptors.push_back(listener.Get());
    }
    return descriptors;
}

}  // namespace Pellmar::System
