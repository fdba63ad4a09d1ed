#include "support/report_listener.h"

#include "support/deadline.h"

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace Test {

namespace {

[[noreturn]] void ThrowError(const char* action) {
    throw std::system_error(errno, std::generic_category(), action);
}

template <typename Address>
int BindAndListen(int socket, Address address) {
    auto* plain = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    if (::bind(socket, plain, size) != 0 || ::listen(socket, SOMAXCONN) != 0 ||
        ::getsockname(socket, plain, &size) != 0) {
        ThrowError("listening");
    }
    if constexpr (std::is_same_v<Address, sockaddr_in6>) {
        return ntohs(address.sin6_port);
    } else {
        return ntohs(address.sin_port);
    }
}

void ReceiveMore(int socket, const Deadline& deadline, std::string& bytes) {
    std::array<char, 65536> buffer{};
    deadline.Await(socket, POLLIN, "the rest of a post");
    const ssize_t count = ::recv(socket, buffer.data(), buffer.size(), 0);
    if (count <= 0) {
        throw std::runtime_error("the plugin closed the connection in the middle of its post");
    }
    bytes.append(buffer.data(), static_cast<std::size_t>(count));
}

std::size_t ContentLength(const std::string& head) {
    const std::string field = "\r\nContent-Length: ";
    const std::size_t start = head.find(field);
    if (start == std::string::npos) {
        throw std::runtime_error("a post without a Content-Length: " + head);
    }
    return std::stoul(head.substr(start + field.size()));
}

}  // namespace

ReportListener::ReportListener(Loopback loopback) {
    const bool isV6 = loopback == Loopback::V6;
    listener.Reset(::socket(isV6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!listener.IsOpen()) {
        ThrowError("making a socket");
    }
    if (isV6) {
        sockaddr_in6 address{};
        address.sin6_family = AF_INET6;
        address.sin6_addr = in6addr_loopback;
        port = BindAndListen(listener.Get(), address);
    } else {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        port = BindAndListen(listener.Get(), address);
    }
}

ReportListener::Post ReportListener::Receive() {
    const Deadline deadline;
    deadline.Await(listener.Get(), POLLIN, "a post");
    connection.Reset(::accept4(listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!connection.IsOpen()) {
        ThrowError("accepting a connection");
    }
    std::string bytes;
    std::size_t end = std::string::npos;
    while ((end = bytes.find("\r\n\r\n")) == std::string::npos) {
        ReceiveMore(connection.Get(), deadline, bytes);
    }
    Post post;
    post.head = bytes.substr(0, end + 4);
    post.body = bytes.substr(end + 4);
    const std::size_t length = ContentLength(post.head);
    while (post.body.size() < length) {
        ReceiveMore(connection.Get(), deadline, post.body);
    }
    return post;
}

void ReportListener::Answer(int status) {
    AnswerBytes("HTTP/1.1 " + std::to_string(status) +
                " Some Reason\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
}

void ReportListener::AnswerBytes(std::string_view bytes) {
    (void)::send(connection.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);  // it may be gone
    connection.Reset();
}

}  // namespace Test
