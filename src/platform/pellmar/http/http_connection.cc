#include "platform/pellmar/http/http_connection.h"

#include "platform/pellmar/http/http_limits.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace Pellmar::Http {

namespace {

// The buffer that this thread's last connection released. Most requests reuse it, which saves the
// allocator from returning and fetching its pages for each of them.
thread_local std::unique_ptr<char[]> tSpareInput;

std::unique_ptr<char[]> TakeInputBuffer() {
    if (tSpareInput) {
        return std::move(tSpareInput);
    }
    return std::make_unique_for_overwrite<char[]>(kInputBytes);
}

}  // namespace

Connection::Connection(std::uint64_t id, Sys::OwnedFd socket, TimePoint now, TimePoint deadline)
    : since(now), deadline(deadline), id(id), socket(std::move(socket)) {}

Connection::~Connection() { ReleaseInput(); }

void Connection::Consume(std::size_t count) {
    begin += count;
    if (begin == end) {
        begin = end = 0;
    }
}

Connection::Fill Connection::FillInput() {
    if (!input) {
        input = TakeInputBuffer();
    }
    if (begin > 0) {
        std::memmove(input.get(), input.get() + begin, end - begin);
        end -= begin;
        begin = 0;
    }
    ssize_t count = 0;
    do {
        count = ::recv(socket.Get(), input.get() + end, kInputBytes - end, 0);
    } while (count < 0 && errno == EINTR);
    if (count > 0) {
        end += static_cast<std::size_t>(count);
        bodyReceived += static_cast<std::size_t>(count);
        return Fill::Data;
    }
    if (count == 0) {
        return Fill::End;
    }
    return errno == EAGAIN ? Fill::Nothing : Fill::Failed;
}

Connection::Fill Connection::Discard() {
    Fill fill = Fill::Data;
    do {
        discardedBytes += end - begin;
        Consume(end - begin);
        fill = FillInput();
    } while (fill == Fill::Data && discardedBytes <= kMaxLingerBytes);
    return fill;
}

void Connection::ReleaseInput() {
    begin = end = 0;
    if (input) {
        tSpareInput = std::move(input);
    }
}

Connection::Sending Connection::Send(std::string_view& bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(socket.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return errno == EAGAIN ? Sending::MustWait : Sending::Failed;
        }
    }
    return Sending::Done;
}

bool Connection::Wait(short events, TimePoint until) const {
    for (;;) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(until - std::chrono::steady_clock::now());
        pollfd entry{socket.Get(), events, 0};
        const int ready =
            ::poll(&entry, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
        if (ready != 0 && (ready > 0 || errno != EINTR)) {
            return true;  // the next call on the socket reports why poll failed
        }
        if (ready == 0 && left.count() <= 0) {
            return false;
        }
    }
}

void Connection::FinishSending() {
    (void)::shutdown(socket.Get(), SHUT_WR);  // fails only if the client has already disconnected
}

void Connection::ExpectBody(std::uint64_t length, std::uint64_t arrived) {
    bodyLength = length;
    bodyReceived = arrived;
    bodyIsRead = false;
}

std::uint64_t Connection::BodyArrived() const {
    int inKernel = 0;
    (void)::ioctl(socket.Get(), FIONREAD, &inKernel);  // always succeeds for a connected socket
    return bodyReceived + static_cast<std::uint64_t>(inKernel);
}

void Connection::GiveWay() {
    gaveWay = true;
    (void)::shutdown(socket.Get(), SHUT_RD);  // wakes waiters; fails only if the client is gone
}

void Connection::Abort() const { (void)::shutdown(socket.Get(), SHUT_RDWR); }

}  // namespace Pellmar::Http
