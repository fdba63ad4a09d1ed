#include "ctl/api/http_post.h"

#include "ctl/host/port_holder.h"
#include "ctl/show/durations.h"
#include "ctl/show/sizes.h"
#include "platform/sys/owned_fd.h"

#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>

namespace Ctl {

namespace {

namespace http = boost::beast::http;
using Clock = std::chrono::steady_clock;
using Parser = http::response_parser<http::string_body>;

// A listing has at most 64 MiB of texts; JSON escapes can double that.
constexpr std::uint64_t kMaxAnswerBytes = std::uint64_t{192} << 20;
constexpr std::size_t kReadBytes = std::size_t{64} * 1024;

[[noreturn]] void Fail(int errorNumber) {
    throw HttpFailure(std::generic_category().message(errorNumber), "", errorNumber);
}

struct AddressesDeleter {
    void operator()(addrinfo* first) const { ::freeaddrinfo(first); }
};

// A connection with one deadline for all its operations, and a shorter limit for silence. Every
// operation throws HttpFailure.
class Connection {
  public:
    explicit Connection(const HttpPost& post)
        : deadline(Clock::now() + post.timeout), silence(post.silence) {
        addrinfo wanted{};
        wanted.ai_socktype = SOCK_STREAM;
        addrinfo* found = nullptr;
        if (const int code = ::getaddrinfo(post.host.c_str(), post.port.c_str(), &wanted, &found);
            code != 0) {
            throw HttpFailure(::gai_strerror(code));
        }
        const std::unique_ptr<addrinfo, AddressesDeleter> addresses(found);
        int error = 0;
        for (const addrinfo* address = found; address != nullptr; address = address->ai_next) {
            error = Connect(*address);
            if (error == 0) {
                return;
            }
        }
        Fail(error);
    }

    // Also throws UntrustedListener.
    void RequireTrust() const {
        sockaddr_storage peer{};
        socklen_t size = sizeof peer;
        if (::getpeername(socket.Get(), reinterpret_cast<sockaddr*>(&peer), &size) != 0) {
            Fail(errno);
        }
        RequireTrustedListener(peer);
    }

    void Write(std::string_view bytes) const {
        while (!bytes.empty()) {
            const ssize_t sent = ::send(socket.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent >= 0) {
                bytes.remove_prefix(static_cast<std::size_t>(sent));
            } else {
                WaitAfter(errno, POLLOUT);
            }
        }
    }

    // Reads what has arrived, at most `room` bytes; 0 at the end of the connection.
    std::size_t Read(char* bytes, std::size_t room) const {
        for (;;) {
            const ssize_t received = ::recv(socket.Get(), bytes, room, 0);
            if (received >= 0) {
                return static_cast<std::size_t>(received);
            }
            WaitAfter(errno, POLLIN);
        }
    }

  private:
    int Connect(const addrinfo& address) {
        socket.Reset(::socket(address.ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        if (!socket.IsOpen()) {
            return errno;
        }
        if (::connect(socket.Get(), address.ai_addr, address.ai_addrlen) == 0) {
            return 0;
        }
        if (errno != EINPROGRESS) {
            return errno;
        }
        Wait(POLLOUT);
        int error = 0;
        socklen_t size = sizeof(error);
        return ::getsockopt(socket.Get(), SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
    }

    void WaitAfter(int errorNumber, short event) const {
        if (errorNumber == EAGAIN) {
            Wait(event);
        } else if (errorNumber != EINTR) {
            Fail(errorNumber);
        }
    }

    void Wait(short event) const {
        pollfd ready{.fd = socket.Get(), .events = event, .revents = 0};
        const Clock::time_point end = std::min(deadline, Clock::now() + silence);
        for (;;) {
            const auto left =
                std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
            const int count = left <= 0 ? 0 : ::poll(&ready, 1, static_cast<int>(left));
            if (count == 0 && end < deadline) {
                throw HttpFailure("no data arrived for " + MeasuredText(silence), "", ETIMEDOUT);
            }
            if (count == 0) {
                Fail(ETIMEDOUT);
            }
            if (count > 0) {
                return;
            }
            if (errno != EINTR) {
                Fail(errno);
            }
        }
    }

    const Clock::time_point deadline;
    const std::chrono::milliseconds silence;
    Sys::OwnedFd socket;
};

std::string RequestBytes(const HttpPost& post) {
    const bool isIpv6 = post.host.find(':') != std::string::npos;
    const std::string host = isIpv6 ? "[" + post.host + "]" : post.host;
    std::string bytes = "POST " + post.target + " HTTP/1.1\r\nHost: " + host + ":" + post.port +
                        "\r\nContent-Type: application/json\r\nConnection: close\r\n";
    if (!post.authorization.empty()) {
        bytes += "Authorization: " + post.authorization + "\r\n";
    }
    return bytes + "Content-Length: " + std::to_string(post.body.size()) + "\r\n\r\n" + post.body;
}

// Feeds `parser` the received bytes, and keeps the rest for later: a head is parsed as a whole.
void Parse(Parser& parser, std::string& received) {
    boost::beast::error_code error;
    while (!received.empty() && !parser.is_done()) {
        const std::size_t used = parser.put(boost::asio::buffer(std::as_const(received)), error);
        received.erase(0, used);
        if (error == http::error::need_more) {
            return;
        }
        if (error == http::error::body_limit) {
            throw HttpFailure("the answer is longer than " + SizeText(kMaxAnswerBytes));
        }
        if (error) {
            throw HttpFailure("the answer is not HTTP: " + error.message());
        }
    }
}

HttpAnswer ReadAnswer(const Connection& connection) {
    Parser parser;
    parser.body_limit(kMaxAnswerBytes);
    parser.eager(true);
    std::string received;
    const auto block = std::make_unique<std::array<char, kReadBytes>>();
    while (!parser.is_done()) {
        const std::size_t size = connection.Read(block->data(), block->size());
        if (size == 0) {
            if (!parser.got_some() && received.empty()) {
                throw HttpFailure("the server closed the connection without an answer");
            }
            boost::beast::error_code error;
            parser.put_eof(error);
            if (error || !parser.is_done()) {
                throw HttpFailure("the connection was closed before the answer was complete");
            }
            break;
        }
        received.append(block->data(), size);
        Parse(parser, received);
    }
    return {parser.get().result_int(), std::move(parser.get().body())};
}

}  // namespace

HttpAnswer Send(const HttpPost& post) {
    const Connection connection(post);
    connection.RequireTrust();
    connection.Write(RequestBytes(post));
    return ReadAnswer(connection);
}

}  // namespace Ctl
