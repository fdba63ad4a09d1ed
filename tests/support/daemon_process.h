// A daemon as a child process: starts it, knows when it is ready, reads its log, ends it. What it
// serves and stores is left to http_client and host_directory.
#pragma once

#include "platform/sys/owned_fd.h"
#include "platform/sys/pid_fd.h"
#include "support/deadline.h"
#include "support/log_file.h"

#include <chrono>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace Test {

struct DaemonOptions {
    std::string program;
    // Without the program's name.
    std::vector<std::string> arguments;
    // SENTREL_ROOT as it is given; unset when empty.
    std::string root;
    // SENTREL_LOG_LEVEL; unset when empty.
    std::string logLevel = "7";
    // SENTREL_CGROUP_ROOT; unset when empty.
    std::string cgroupRoot;
    // Commands of sh before the program, in its process; none when empty.
    std::string preparation;
    // A descriptor of the test's that becomes standard error, so that nothing can be read through
    // the log operations below. -1: a file of this object's own, which takes every line.
    int standardError = -1;
    // JOURNAL_STREAM names standard error, as if it were the journal.
    bool logsToJournal = false;
    // SIGTERM is waiting for the program before its first instruction.
    bool startWithPendingStop = false;
};

// The daemon is killed with this object, or when the thread that started it ends. One thread at a
// time. All waiting is bounded: std::runtime_error that carries the log when it is in vain.
class DaemonProcess {
  public:
    // Starts the program, with standard descriptors alone, and does not wait for anything. Throws
    // std::system_error when there can be no process; a program that cannot be executed ends with
    // status 127.
    explicit DaemonProcess(const DaemonOptions& options);
    ~DaemonProcess();  // NOLINT(bugprone-exception-escape): see its definition
    DaemonProcess(const DaemonProcess&) = delete;
    DaemonProcess& operator=(const DaemonProcess&) = delete;

    // Blocks until the program has told its service manager that it is ready. False when it ended
    // instead.
    bool WaitUntilReady();
    // The next message to the service manager; empty when the program ended instead.
    std::string NextNotification();
    bool IsRunning() const;
    pid_t GetPid() const { return pid; }

    void Send(int signal) const;
    // Blocks until the program has ended: its exit status, or -N when signal N ended it. The same
    // again when called again.
    int WaitForEnd();
    // SIGTERM, then WaitForEnd.
    int Stop();
    // SIGKILL, then the end.
    void Kill();

    // Blocks until the log has `count` lines with `text` in them. False when the program ended
    // before. `patience` is for what the program is to do that much later.
    bool WaitForLog(std::string_view text, std::size_t count = 1,
                    std::chrono::seconds patience = Deadline::kPatience);
    // All of standard error so far.
    std::string Log() const { return log.Text(); }
    // Its lines so far as "LEVEL NAME: MESSAGE", the time removed; lines of another form as they
    // are.
    std::vector<std::string> LogLines() const { return log.Lines(); }
    // How many of its lines hold `text`.
    std::size_t CountLog(std::string_view text) const { return log.Count(text); }

    // Its open descriptors and what they are open on, such as "socket:[123]".
    std::map<int, std::string> OpenDescriptors() const;
    // A line of its status in kB, such as "VmRSS", or a number, such as "Threads".
    long StatusValue(std::string_view name) const;

  private:
    enum class Event { Descriptor, End };

    // Blocks until `descriptor` is readable or the program has ended.
    Event Await(int descriptor, const std::string& awaited, const Deadline& deadline) const;

    LogFile log;
    Sys::OwnedFd notifications;
    Sys::PidFd process;
    pid_t pid = -1;
    int exitStatus = 0;
    bool hasEnded = false;
};

}  // namespace Test
