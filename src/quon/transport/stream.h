// The connected socket of one client on the I/O context. What is said on it is the connection's
// business.
#pragma once

#include "platform/sys/owned_fd.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <system_error>

namespace boost::asio {
class io_context;
}

namespace Quon::Transport::PicoHttp {

// The thread of the context. Callbacks are called by the context, never inside the call they were
// given to, and never once the context is gone; memory given to an operation stays where it is
// until then or until Close.
class Stream {
  public:
    using OnDone = std::function<void(const std::error_code& error, std::size_t count)>;
    // They go out one after the other, in one system call where the socket takes them.
    using Parts = std::array<std::string_view, 2>;

    // `socket` is connected. Throws what is derived from std::exception when it cannot be used.
    Stream(boost::asio::io_context& context, Sys::OwnedFd socket);
    ~Stream();

    // Receives what has arrived, or what comes first. At the end of the stream the count is 0. One
    // at a time.
    void Receive(std::span<char> buffer, OnDone done);

    // Sends all of `parts`. True when that is done: `done` is dropped then. One at a time.
    bool Send(const Parts& parts, OnDone done);

    // Calls `task` when what is waiting in the context had its turn.
    void Post(std::function<void()> task);

    // Whether the client was seen to have gone, though nothing is received. Looks every 100 ms, and
    // never again once it has.
    bool HasClientLeft();

    // Ends the sending side, so that the client sees the end of the answer.
    void FinishSending();
    // Operations under way end with an error.
    void Close();

  private:
    struct Socket;
    const std::unique_ptr<Socket> socket;
    std::chrono::steady_clock::time_point nextLook;
    bool hasLeft = false;
};

}  // namespace Quon::Transport::PicoHttp
