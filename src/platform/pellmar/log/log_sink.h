// Where log lines go: standard error, one write a line, never waiting. Knows the two line forms and
// counts what had to be dropped.
//
//   plain     2024-05-01T12:00:00.123Z 3 NAME: MESSAGE
//   journal   <3>NAME: MESSAGE       (sd-daemon(3); the journal knows the time)
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
    // environment variable JOURNAL_STREAM, "DEVICE:INODE" in decimal, or empty: the journal form is
    // used when it names what `descriptor` is open on. A pipe or terminal is opened once more, so
    // that it is non-blocking for this sink alone; a file is written as it is.
    LogSink(int descriptor, std::string_view journalStream);

    // Writes one line. `message` holds no control characters. Never waits: a line that is not taken
    // whole at once is dropped, and before the next one that passes stands a line of the logger
    // "sentrel" at level 3 that says how many were. After a line that was taken in part the next
    // begins on a fresh line. Any thread; SIGPIPE is expected to be ignored.
    void Write(int level, std::string_view loggerName, std::string_view message) noexcept
        EXCLUDES(lock);

  private:
    enum class Target {
        NeverBlocks,  // a file, or a descriptor of our own that is non-blocking
        Socket,
        MayBlock  // a pipe or terminal that could not be opened once more
    };

    void Classify(std::string_view journalStream);
    void Compose(int level, std::string_view loggerName, std::string_view message) REQUIRES(lock);
    bool WriteDropNotice() REQUIRES(lock);
    bool WriteBuffer() REQUIRES(lock);

    Sys::OwnedFd reopened;
    int descriptor;
    Target target = Target::NeverBlocks;
    bool journal = false;
    Sys::Mutex lock;
    unsigned long dropped GUARDED_BY(lock) = 0;
    bool lineIsCut GUARDED_BY(lock) = false;
    std::string buffer GUARDED_BY(lock);
};

}  // namespace Pellmar::Service
