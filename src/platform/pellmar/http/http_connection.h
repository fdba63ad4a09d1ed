// An accepted connection: its socket and the received bytes that are not used yet. One thread owns
// it at a time; the service decides which one, and how long it may wait.
#pragma once

#include "platform/http1/request_head.h"
#include "platform/pellmar/object.h"
#include "platform/sys/owned_fd.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

namespace Pellmar::Http {

class Connection : public ObjectImpl {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;

    enum class Fill { Data, Nothing, End, Failed };
    enum class Sending { Done, MustWait, Failed };

    // `socket` is connected and non-blocking. `deadline` applies to the first head.
    Connection(std::uint64_t id, Sys::OwnedFd socket, TimePoint now, TimePoint deadline);
    ~Connection() override;

    std::uint64_t GetId() const { return id; }
    int GetSocket() const { return socket.Get(); }

    // The bytes received but not consumed.
    std::string_view Unread() const { return {input.get() + begin, end - begin}; }
    void Consume(std::size_t count);
    // Receives what has arrived, without waiting. The buffer must not be full: fewer than
    // kInputBytes may be unread.
    Fill FillInput();
    // Discards the unread bytes and everything that has arrived.
    Fill Discard();
    // Frees the input buffer. Nothing may be unread.
    void ReleaseInput();

    // Sends from the front of `bytes` and removes what was sent, without waiting.
    Sending Send(std::string_view& bytes);
    // Waits until the socket is readable (`events` POLLIN) or writable (POLLOUT); returns false if
    // it is not by `until`.
    bool Wait(short events, TimePoint until) const;
    // Shuts down the sending side, so that the client sees the end of the response.
    void FinishSending();
    // Shuts down both sides: reads and writes of other threads fail at once. Any thread.
    void Abort() const;

    // The progress of the current body. Any thread may call const functions and GiveWay.
    //
    // Starts a body of `length` bytes, of which `arrived` bytes are unread here.
    void ExpectBody(std::uint64_t length, std::uint64_t arrived);
    // The number of the body's bytes in the kernel, in this object or already consumed.
    std::uint64_t BodyArrived() const;
    bool BodyIsHere() const { return BodyArrived() >= bodyLength; }
    // Stops waiting for the body: bytes that have not arrived by now are lost.
    void GiveWay();
    bool GaveWay() const { return gaveWay; }
    // Whether a thread is reading this body or has read it.
    std::atomic<bool> bodyIsRead = false;

    // For the bound of connections: whether a whole request has been read, and when the connection
    // was last answered or, before that, accepted.
    bool hasSentRequest = false;
    TimePoint since;
    // Since when the current request, whose body has not arrived, has been waiting for a place.
    std::optional<TimePoint> gatedSince;
    // Searches for the end of the current head.
    Http1::HeadScanner scanner;
    // When the current head must be complete or lingering stops; unset before the first byte of a
    // head on a kept connection.
    std::optional<TimePoint> deadline;
    // A response was sent before the whole request was read, so all further input is discarded.
    bool lingers = false;

  private:
    const std::uint64_t id;
    const Sys::OwnedFd socket;
    std::unique_ptr<char[]> input;
    std::size_t begin = 0;
    std::size_t end = 0;
    std::size_t discardedBytes = 0;
    std::uint64_t bodyLength = 0;
    std::atomic<std::uint64_t> bodyReceived = 0;
    std::atomic<bool> gaveWay = false;
};

}  // namespace Pellmar::Http
