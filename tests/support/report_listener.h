// The intake as a plugin sees it, in the hands of a test: it takes one post after another and gives
// the answer that the test wants, or none.
#pragma once

#include "platform/sys/owned_fd.h"
#include "support/loopback.h"

#include <string>
#include <string_view>

namespace Test {

// All waiting is bounded: std::runtime_error when it is in vain. One thread.
class ReportListener {
  public:
    // Listens on a port of its own. Throws std::system_error.
    explicit ReportListener(const std::string& address = "127.0.0.1")
        : listener(ListenAt(address)) {}

    int Port() const { return PortOf(listener); }

    struct Post {
        std::string head;  // with the empty line at its end
        std::string body;
    };

    // Waits for a connection and reads one request, as long as its Content-Length says.
    Post Receive();
    // Answers what was received last, and closes its connection.
    void Answer(int status);
    // The same with any bytes; none closes it without an answer.
    void AnswerBytes(std::string_view bytes);

  private:
    Sys::OwnedFd listener;
    Sys::OwnedFd connection;
};

}  // namespace Test
