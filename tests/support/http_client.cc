#include "support/http_client.h"

#include "support/deadline.h"

#include <cerrno>
#include <charconv>
#include <cstdint>
#include <stdexcept>
#include <system_error>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <strings.h>
#include <sys/socket.h>

namespace Test {
namespace {

struct SocketAddress {
    sockaddr_storage bytes{};
    socklen_t size = 0;
};

SocketAddress ToSocketAddress(const std::string& address, int port) {
    SocketAddress result;
    const auto networkPort = htons(static_cast<std::uint16_t>(port));
    const auto v4 = reinterpret_cast<sockaddr_in*>(&result.bytes);
    const auto v6 = reinterpret_cast<sockaddr_in6*>(&result.bytes);
    if (::inet_pton(AF_INET, address.c_str(), &v4->sin_addr) == 1) {
        v4->sin_family = AF_INET;
        v4->sin_port = networkPort;
        result.size = sizeof(sockaddr_in);
    } else if (::inet_pton(AF_INET6, address.c_str(), &v6->sin6_addr) == 1) {
        v6->sin6_family = AF_INET6;
        v6->sin6_port = networkPort;
        result.size = sizeof(sockaddr_in6);
    } else {
        throw std::invalid_argument(address + " is no address");
    }
    return result;
}

// Takes the text before `end` off the front of `rest`, and `end` too.
std::string_view TakeUntil(std::string_view& rest, std::string_view end) {
    const std::size_t length = rest.find(end);
    if (length == std::string_view::npos) {
        throw std::runtime_error("no HTTP response: " + std::string(rest));
    }
    const std::string_view taken = rest.substr(0, length);
    rest.remove_prefix(length + end.size());
    return taken;
}

int ToNumber(std::string_view text) {
    int number = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < 0) {
        throw std::runtime_error("no number in an HTTP response: " + std::string(text));
    }
    return number;
}

// `head` ends with its last field line's CRLF.
HttpResponse ParseHead(std::string_view head) {
    HttpResponse response;
    if (TakeUntil(head, " ") != "HTTP/1.1") {
        throw std::runtime_error("a response that does not begin with HTTP/1.1");
    }
    response.status = ToNumber(TakeUntil(head, " "));
    response.reason = TakeUntil(head, "\r\n");
    while (!head.empty()) {
        std::string_view line = TakeUntil(head, "\r\n");
        const std::string_view name = TakeUntil(line, ": ");
        response.fields.emplace_back(name, line);
    }
    return response;
}

}  // namespace

std::string HttpResponse::Field(std::string_view name) const {
    for (const auto& [fieldName, value] : fields) {
        if (fieldName.size() == name.size() &&
            ::strncasecmp(fieldName.data(), name.data(), name.size()) == 0) {
            return value;
        }
    }
    return {};
}

RawConnection::RawConnection(int port, const std::string& address) {
    const SocketAddress server = ToSocketAddress(address, port);
    socket.Reset(::socket(server.bytes.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (::connect(socket.Get(), reinterpret_cast<const sockaddr*>(&server.bytes), server.size) !=
        0) {
        const int error = errno;
        throw std::system_error(error, std::generic_category(), "connecting to " + address);
    }
    const int on = 1;  // each Send is a packet of its own
    (void)::setsockopt(socket.Get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
}

bool RawConnection::Send(std::string_view bytes) {
    const Deadline deadline;
    while (!bytes.empty()) {
        const ssize_t count =
            ::send(socket.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno == EAGAIN) {
            deadline.Await(socket.Get(), POLLOUT, "the server to take bytes");
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

void RawConnection::FinishSending() { (void)::shutdown(socket.Get(), SHUT_WR); }

void RawConnection::Reset() {
    const linger atOnce{1, 0};
    (void)::setsockopt(socket.Get(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
    socket.Reset();
}

std::optional<HttpResponse> RawConnection::ReadResponse() {
    std::size_t headEnd = 0;
    while ((headEnd = received.find("\r\n\r\n")) == std::string::npos) {
        if (!ReceiveMore()) {
            return std::nullopt;
        }
    }
    HttpResponse response = ParseHead(std::string_view(received).substr(0, headEnd + 2));
    received.erase(0, headEnd + 4);
    if (response.Field("Transfer-Encoding") == "chunked") {
        return ReadChunks(response.body) ? std::optional(std::move(response)) : std::nullopt;
    }
    const std::string length = response.Field("Content-Length");
    const std::size_t bodySize = length.empty() ? 0 : static_cast<std::size_t>(ToNumber(length));
    while (received.size() < bodySize) {
        if (!ReceiveMore()) {
            return std::nullopt;
        }
    }
    response.body = received.substr(0, bodySize);
    received.erase(0, bodySize);
    return response;
}

bool RawConnection::ReadChunks(std::string& body) {
    for (;;) {
        std::size_t lineEnd = 0;
        while ((lineEnd = received.find("\r\n")) == std::string::npos) {
            if (!ReceiveMore()) {
                return false;
            }
        }
        const std::size_t size = std::stoul(received.substr(0, lineEnd), nullptr, 16);
        const std::size_t dataStart = lineEnd + 2;
        while (received.size() < dataStart + size + 2) {
            if (!ReceiveMore()) {
                return false;
            }
        }
        if (received.compare(dataStart + size, 2, "\r\n") != 0) {
            throw std::runtime_error("a chunk that does not end where it should");
        }
        body.append(received, dataStart, size);
        received.erase(0, dataStart + size + 2);
        if (size == 0) {
            return true;
        }
    }
}

std::string RawConnection::ReadUntilClosed() {
    while (ReceiveMore()) {
    }
    return std::exchange(received, {});
}

bool RawConnection::ReceiveMore() {
    const Deadline deadline;
    for (;;) {
        deadline.Await(socket.Get(), POLLIN, "the server to answer or to close");
        char buffer[4096];
        const ssize_t count = ::recv(socket.Get(), buffer, sizeof(buffer), MSG_DONTWAIT);
        if (count > 0) {
            received.append(buffer, static_cast<std::size_t>(count));
            return true;
        }
        if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
            return false;
        }
    }
}

std::string PostRequest(std::string_view path, std::string_view body) {
    std::string request("POST ");
    request.append(path).append(
        " HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n");
    request.append("Content-Length: ").append(std::to_string(body.size())).append("\r\n\r\n");
    return request.append(body);
}

std::string ReportDocument(std::string_view name, std::size_t padding) {
    std::string document(R"({"structured":{"name":")");
    document.append(name).append(R"(","time":"2024-05-06T07:08:09+00:00","status":0},)");
    document.append(R"("unstructured":{"padding":")").append(padding, 'x').append("\"}}");
    return document;
}

int HttpClient::Post(std::string_view path, std::string_view body) {
    if (!connection) {
        connection.emplace(port);
    }
    std::optional<HttpResponse> response;
    if (connection->Send(PostRequest(path, body))) {
        response = connection->ReadResponse();
    }
    if (!response || response->ClosesConnection()) {
        connection.reset();
    }
    return response ? response->status : 0;
}

}  // namespace Test
