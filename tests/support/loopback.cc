#include "support/loopback.h"

#include <cerrno>
#include <memory>
#include <stdexcept>
#include <system_error>

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace Test {
namespace {

template <typename Action>
Sys::OwnedFd MakeSocket(const std::string& address, int port, const Action& action) {
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (::getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) {
        throw std::invalid_argument(address + " is no address");
    }
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> place(found, &::freeaddrinfo);
    Sys::OwnedFd socket(::socket(place->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!action(socket.Get(), *place)) {
        const int error = errno;
        throw std::system_error(error, std::generic_category(), address);
    }
    return socket;
}

}  // namespace

Sys::OwnedFd ListenAt(const std::string& address, int port) {
    return MakeSocket(address, port, [](int socket, const addrinfo& place) {
        const int on = 1;  // connections of an earlier server may still be fading away
        return ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) == 0 &&
               ::bind(socket, place.ai_addr, place.ai_addrlen) == 0 &&
               ::listen(socket, SOMAXCONN) == 0;
    });
}

int PortOf(const Sys::OwnedFd& socket) {
    sockaddr_in6 address{};  // has its port where sockaddr_in has it
    socklen_t size = sizeof(address);
    (void)::getsockname(socket.Get(), reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin6_port);
}

Sys::OwnedFd ConnectTo(const std::string& address, int port) {
    return MakeSocket(address, port, [](int socket, const addrinfo& place) {
        return ::connect(socket, place.ai_addr, place.ai_addrlen) == 0;
    });
}

}  // namespace Test
