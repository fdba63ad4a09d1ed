// Takes the log messages of this process away from standard error, for a test to look at.
#pragma once

#include "platform/pellmar/log_sink.h"
#include "platform/sys/owned_fd.h"
#include "support/temporary_directory.h"

#include <string>
#include <string_view>
#include <vector>

namespace Test {

// While one lives, all messages of all loggers go to it, and the default logger's level is 7; both
// are put back at its end. What logs on another thread must have ended by then. One at a time.
class CapturedLog {
  public:
    CapturedLog();
    ~CapturedLog();
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    // The lines so far, in order, each "LEVEL NAME: MESSAGE".
    std::vector<std::string> Lines() const;
    // Whether some line so far contains `text`.
    bool Contains(std::string_view text) const;
    // Blocks until some line contains `text`. False when none did before the test's deadline.
    bool WaitFor(std::string_view text) const;

  private:
    TemporaryDirectory directory;
    Sys::OwnedFd file;
    Sys::OwnedFd changes;
    Pellmar::Service::LogSink sink;
    int previousLevel;
};

}  // namespace Test
