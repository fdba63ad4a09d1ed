// The connected socket of a client on the I/O context, without knowledge of the protocol.
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

// For the thread of the context. The context calls callbacks, never within the call that passed
// them, and never after it is destroyed; memory passed to an operation must stay valid until then
// or until Close.
class Stream {
  public:
    using OnDone = std::function<void(const std::error_code& error, std::size_t count)>;
    // Sent one after the other, in one system call if the socket accepts them.
    using Parts = std::array<std::string_view, 2>;

    // `socket` is connected. Throws an exception derived from std::exception if it is unusable.
    Stream(boost::asio::io_context& context, Sys::OwnedFd socket);
    ~Stream();

    // Receives what has arrived, or else the next bytes. The count is 0 at the end of the stream.
    // One call at a time.
    void Receive(std::span<char> buffer, OnDone done);

    // Sends all of `parts`. Returns true if it is already done, without calling `done`. One call at
    // a time.
    bool Send(const Parts& parts, OnDone done);

    // Calls `task` after everything pending in the context had its turn.
    void Post(std::function<void()> task);

    // Whether the client is known to have gone although no data is being received. Checks every 100
    // ms until it has gone.
    bool HasClientLeft();

    // Shuts down the sending side, so that the client sees the end of the response.
    void FinishSending();
    // Closes the socket; operations in progress end with an error.
    void Close();

  private:
    struct Socket;
    const std::unique_ptr<Socket> socket;
    std::chrono::steady_clock::time_point nextLook;
    bool hasLeft = false;
};

}  // namespace Quon::Transport::PicoHttp
