// What tests do with descriptors again and again: pipes, reading to the end, children that answer.
#pragma once

#include "platform/sys/owned_fd.h"

#include <functional>
#include <string>
#include <vector>

#include <sys/resource.h>

namespace Test {

// `result` of a system call; throws std::system_error about `what` when it is negative.
int OrThrow(int result, const char* what);

// Throws std::system_error.
struct Pipe {
    Pipe();
    Sys::OwnedFd reader;
    Sys::OwnedFd writer;
};

// All that comes until the end, an error, or EAGAIN of a descriptor that does not block. Throws
// std::runtime_error when nothing comes before the test's deadline.
std::string ReadToEnd(int descriptor);

// "DEVICE:INODE" of what is open, as JOURNAL_STREAM announces it.
std::string StreamName(int descriptor);

// While it lives, a limit of this process (RLIMIT_...) is lower; SIGXFSZ is ignored.
class LoweredLimit {
  public:
    LoweredLimit(int resource, rlim_t value);
    ~LoweredLimit();
    LoweredLimit(const LoweredLimit&) = delete;
    LoweredLimit& operator=(const LoweredLimit&) = delete;

  private:
    const int resource;
    rlimit previous{};
    void (*const previousHandler)(int);
};

// For exec: pointers into `texts`, and null.
std::vector<char*> PointersTo(std::vector<std::string>& texts);

// What `question` answers in a child process of the test, where it may change what it likes.
std::string AnswerOfChild(const std::function<std::string()>& question);

}  // namespace Test
