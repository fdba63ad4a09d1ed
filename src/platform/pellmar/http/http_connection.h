// One accepted connection: its socket and the bytes that arrived and were not used yet. One thread
// owns it at a time; whose turn it is, and for how long it may wait, is the service's business.
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

    // `socket` is connected and non-blocking. `deadline` is that of the first head.
    Connection(std::uint64_t id, Sys::OwnedFd socket, TimePoint now, TimePoint deadline);
    ~Connection() override;

    std::uint64_t GetId() const { return id; }
    int GetSocket() const { return socket.Get(); }

    // The bytes that arrived and were not consumed.
    std::string_view Unread() const { return {input.get() + begin, end - begin}; }
    void Consume(std::size_t count);
    // Takes what has arrived, without waiting. There must be room: fewer than kInputBytes unread.
    Fill FillInput();
    // Drops what is unread, and what has arrived.
    Fill Discard();
    // Gives the memory of the input back; nothing is unread.
    void ReleaseInput();

    // Sends from `bytes`, which loses what was sent, without waiting.
    Sending Send(std::string_view& bytes);
    // Waits until the socket is readable (`events` POLLIN) or writable (POLLOUT); false when it is
    // not by `until`.
    bool Wait(short events, TimePoint until) const;
    // Ends the sending side, so that the client sees the end of the answer.
    void FinishSending();
    // Ends both sides: reads and writes of other threads fail at once. Any thread.
    void Abort() const;

    // How the current body comes in. What is const, and GiveWay, may be called by any thread.
    //
    // A body of `length` bytes, of which `arrived` are unread here, begins.
    void ExpectBody(std::uint64_t length, std::uint64_t arrived);
    // Bytes of the body that the kernel or this object holds, or that were consumed.
    std::uint64_t BodyArrived() const;
    bool BodyIsHere() const { return BodyArrived() >= bodyLength; }
    // Ends the wait for the body: what did not arrive so far is not waited for.
    void GiveWay();
    bool GaveWay() const { return gaveWay; }
    // A thread waits for this body, or has received it.
    std::atomic<bool> bodyIsRead = false;

    // For the bound of connections: whether a whole request has been read, and when it was last
    // answered, or accepted before that.
    bool hasSentRequest = false;
    TimePoint since;
    // Since when the current request, whose body has not arrived, waits for a place.
    std::optional<TimePoint> gatedSince;
    // Where the search for the end of the current head stands.
    Http1::HeadScanner scanner;
    // When the current head must be complete, or a lingering end is cut; none before the first byte
    // of a head on a kept connection.
    std::optional<TimePoint> deadline;
    // An answer was sent before the request was read to its end: whatever comes is dropped.
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
