// Where log lines go: standard error, one write a line, never waiting. Knows the two line forms
// (plain and journal), reopens a pipe or terminal to be non-blocking for this process alone, counts
// drops.
#pragma once

#include "platform/sys/mutex.h"
#include "platform/sys/owned_fd.h"

#include <string>
#include <string_view>

namespace Pellmar::Service {

class LogSink {
  public:
    // The sink on descriptor 2, opened at first use and never destroyed.
    static LogSink& StandardError();

    // The sink that all messages go to: StandardError unless a test has replaced it.
    static LogSink& Current();
    // Directs all messages to `sink`, which outlives its use; null means StandardError again.
    static void Replace(LogSink* sink);

    // Borrows `descriptor`, which must outlive the sink. `journalStream` is the value of the
    // environment variable JOURNAL_STREAM, "DEVICE:INODE", or empty.
    LogSink(int descriptor, std::string_view journalStream);

    // Writes one line: UTC time with milliseconds and Z, level, name, ": ", message (or "<level>",
    // name,
    // ": ", message when the journal reads). `message` holds no control characters. Any thread.
    void Write(int level, std::string_view loggerName, std::string_view message) EXCLUDES(lock);

  private:
    enum class Target { File, Socket };

    bool TakeWhole(std::string_view line) REQUIRES(lock);

    Sys::OwnedFd reopened;
    int descriptor;
    Target target = Target::File;
    bool journal = false;
    Sys::Mutex lock;
    unsigned long dropped GUARDED_BY(lock) = 0;
    bool lineIsCut GUARDED_BY(lock) = false;
    std::string buffer GUARDED_BY(lock);
};

}  // namespace Pellmar::Service
