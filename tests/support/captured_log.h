// Takes the log messages of this process away from standard error, for a test to look at.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace Test {

// While one lives, all messages of all loggers go to it, and the default logger's level is 7; both
// are put back at its end. One at a time. A thread that is still writing then does no harm.
class CapturedLog {
  public:
    CapturedLog();
    ~CapturedLog();
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    // The lines so far, in order, each "LEVEL NAME: MESSAGE".
    std::vector<std::string> Lines() const;
    // Whether some line so far contains `text`.
    bool Contains(std::string_view text) const { return Count(text) > 0; }
    // How many lines so far contain `text`.
    std::size_t Count(std::string_view text) const;
    // Blocks until `count` lines contain `text`. False when they did not before the test's
    // deadline.
    bool WaitFor(std::string_view text, std::size_t count = 1) const;

  private:
    struct Recording;
    static Recording& SharedRecording();

    Recording& recording;
    const off_t start;
    const int previousLevel;
};

}  // namespace Test
