// What tests do with descriptors and children again and again: pipes, sockets, reading to the end,
// children that answer or wait.
#pragma once

#include "platform/sys/owned_fd.h"

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <sys/resource.h>

namespace Test {

// `result` of a system call; throws std::system_error about `what` when it is negative.
int OrThrow(int result, std::string_view what);

// A socket of AF_UNIX with that type, bound at `path`. Throws std::system_error.
Sys::OwnedFd BindAt(const std::string& path, int type);

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

// A shell command that runs, and what it writes to standard output; waited for at its end.
class RunningShell {
  public:
    explicit RunningShell(const std::string& command);

    // The next line without its end; empty at the end of all.
    std::string NextLine();
    // Waits until it has ended: its status, as of waitpid.
    int Close() { return ::pclose(output.release()); }

  private:
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> output;
};

// What a shell command writes to standard output; it is expected to end with status 0.
std::string OutputOfShell(const std::string& command);

// What `question` answers in a child process of the test, where it may change what it likes.
std::string AnswerOfChild(const std::function<std::string()>& question);

// A child process that waits for a signal; killed with the object.
class IdleProcess {
  public:
    // Its name in the kernel; that of the test when null.
    explicit IdleProcess(const char* name = nullptr);
    ~IdleProcess() { End(); }
    IdleProcess(const IdleProcess&) = delete;
    IdleProcess& operator=(const IdleProcess&) = delete;

    void MoveTo(const std::string& cgroup) const;
    bool HasEnded() const;
    void End();
    pid_t Pid() const { return pid; }

  private:
    pid_t pid = -1;
};

}  // namespace Test
