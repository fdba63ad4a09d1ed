// A file that takes log lines, and tells when more have come.
#pragma once

#include "platform/sys/owned_fd.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace Test {

// Without a name, so that nothing is left of it.
class LogFile {
  public:
    // Throws std::system_error.
    LogFile();

    // Where lines are appended.
    int Descriptor() const { return file.Get(); }
    off_t Size() const;
    // All from byte `start` on.
    std::string Text(off_t start = 0) const;
    // The same as lines "LEVEL NAME: MESSAGE", the time removed; lines of another form as they are.
    std::vector<std::string> Lines(off_t start = 0) const;
    // How many of these lines hold `text`.
    std::size_t Count(std::string_view text, off_t start = 0) const;

    // Readable once something was written since ForgetChanges.
    int Changes() const { return changes.Get(); }
    void ForgetChanges() const;

  private:
    Sys::OwnedFd file;
    Sys::OwnedFd changes;
};

}  // namespace Test
