// A connection of the load: connects, sends one request at a time as far as the socket accepts it,
// and reads the response. The load decides when.
#pragma once

#include "http_answer.h"
#include "measurement.h"
#include "platform/sys/owned_fd.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/uio.h>

namespace Bench {

inline constexpr int kSilenceMilliseconds = 10'000;  // a server silent for this long has failed

[[noreturn]] inline void FailWithErrno(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// Connects to the port on 127.0.0.1. Connecting, blocking sends and reads fail if the server is
// silent. Throws std::system_error.
inline Sys::OwnedFd ConnectTo(std::uint16_t port) {
    Sys::OwnedFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int on = 1;
    const timeval silence{kSilenceMilliseconds / 1000, 0};
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (!socket.IsOpen() ||
        ::setsockopt(socket.Get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0 ||
        ::setsockopt(socket.Get(), SOL_SOCKET, SO_SNDTIMEO, &silence, sizeof silence) != 0 ||
        ::setsockopt(socket.Get(), SOL_SOCKET, SO_RCVTIMEO, &silence, sizeof silence) != 0 ||
        ::connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        FailWithErrno("connecting to port " + std::to_string(port));
    }
    return socket;
}

// A connection and the request in flight on it.
class Connection {
  public:
    // `name` is the first of its names; the others follow in steps of the number of connections.
    explicit Connection(std::size_t name) : nextName(name) {}

    // Connects to the port on 127.0.0.1. Throws std::system_error.
    void Open(std::uint16_t port) { socket = ConnectTo(port); }

    void Close() { socket.Reset(); }

    int Descriptor() const { return socket.Get(); }

    // The name of the next post: `step` further each time, modulo `names`.
    std::size_t TakeName(std::size_t step, std::size_t names) {
        return std::exchange(nextName, (nextName + step) % names);
    }

    // Sets the request to send; both strings must stay valid. The time of the post starts at `now`.
    void Begin(const std::string& requestHead, const std::string& requestBody,
               Clock::time_point now) {
        head = &requestHead;
        body = &requestBody;
        sent = 0;
        started = now;
    }

    Clock::time_point Started() const { return started; }

    // Sends as much as the socket accepts. Throws std::system_error.
    void Send() {
        while (sent < head->size() + body->size()) {
            std::array<iovec, 2> pieces{};
            std::size_t count = 0;
            if (sent < head->size()) {
                pieces.at(count++) = Piece(*head, sent);
            }
            pieces.at(count++) = Piece(*body, sent < head->size() ? 0 : sent - head->size());
            msghdr message{};
            message.msg_iov = pieces.data();
            message.msg_iovlen = count;
            const ssize_t taken = ::sendmsg(socket.Get(), &message, MSG_NOSIGNAL | MSG_DONTWAIT);
            if (taken < 0) {
                if (errno == EAGAIN) {
                    return;
                }
                FailWithErrno("sending a post");
            }
            sent += static_cast<std::size_t>(taken);
        }
    }

    // The response, once complete. Throws std::runtime_error if none will arrive, if bytes follow
    // it, or if it arrives before the whole request was sent.
    std::optional<Answer> Receive() {
        std::array<char, 1024> bytes{};
        const ssize_t count = ::recv(socket.Get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
        if (count < 0 && errno == EAGAIN) {
            return std::nullopt;
        }
        if (count < 0) {
            FailWithErrno("reading an answer");
        }
        if (count == 0) {
            throw std::runtime_error("the server closed the connection without an answer");
        }
        received.append(bytes.data(), static_cast<std::size_t>(count));
        const std::optional<Answer> answer = ReadAnswer(received);
        if (answer) {
            if (answer->isChunked || answer->bodyBytes != 0) {
                throw std::runtime_error("an answer has a body, none was expected: " + received);
            }
            if (answer->bytes != received.size() || sent != head->size() + body->size()) {
                throw std::runtime_error("this answer came early or was not alone: " + received);
            }
            received.clear();
        }
        return answer;
    }

  private:
    // sendmsg takes its pieces without const but does not modify them.
    static iovec Piece(const std::string& text, std::size_t from) {
        return {const_cast<char*>(text.data()) + from, text.size() - from};
    }

    Sys::OwnedFd socket;
    std::size_t nextName;
    const std::string* head = nullptr;
    const std::string* body = nullptr;
    std::size_t sent = 0;
    std::string received;
    Clock::time_point started;
};

}  // namespace Bench
