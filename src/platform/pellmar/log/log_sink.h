// Where log messages go: standard error, one write each, never waiting. Knows their three forms and
// counts what had to be dropped.
//
//   plain     2024-05-01T12:00:00.123Z 3 NAME: MESSAGE
//   record    MESSAGE=MESSAGE            one field a line, to the journal by its own socket
//             PRIORITY=3                 the level, within 0 to 7
//             SYSLOG_IDENTIFIER=sentrel  the program
//             SENTREL_LOGGER=NAME
//             SENTREL_REPORT=, SENTREL_PLUGIN=, SENTREL_PID=, MESSAGE_ID=   where known (LogFields)
//   prefixed  <3>NAME: MESSAGE           to the journal when its socket cannot be had
//   (sd-daemon(3))
#pragma once

#include "platform/pellmar/log/journal_socket.h"
#include "platform/pellmar/log/log_fields.h"
#include "platform/sys/mutex.h"
#include "platform/sys/owned_fd.h"

#include <optional>
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
    // environment variable JOURNAL_STREAM (see Sys::IsJournal): when it names what `descriptor` is
    // open on, records go to the socket at `journalSocketPath`. A pipe or terminal is opened once
    // more, so that it is non-blocking for this sink alone; a file is written as it is.
    LogSink(int descriptor, std::string_view journalStream,
            const char* journalSocketPath = kJournalSocketPath);

    // Writes one message, which holds no control characters. Never waits: one that is not taken
    // whole at once is dropped, and before the next one that passes stands one of the logger
    // "sentrel" at level 3 that says how many were. After a line that was taken in part the next
    // begins on a fresh line. Any thread; SIGPIPE is expected to be ignored.
    void Write(int level, std::string_view loggerName, std::string_view message,
               const LogFields& fields = kNoFields) noexcept EXCLUDES(lock);

  private:
    enum class Target {
        NeverBlocks,  // a file, or a descriptor of our own that is non-blocking
        Socket,
        MayBlock  // a pipe or terminal that could not be opened once more
    };

    void Classify();
    // These two return whether the message was taken.
    bool Deliver(int level, std::string_view loggerName, std::string_view message,
                 const LogFields& fields) REQUIRES(lock);
    bool WriteDropNotice() REQUIRES(lock);
    void ComposeLine(int level, std::string_view loggerName, std::string_view message)
        REQUIRES(lock);
    void ComposeRecord(int level, std::string_view loggerName, std::string_view message,
                       const LogFields& fields) REQUIRES(lock);
    bool WriteBuffer() REQUIRES(lock);

    Sys::OwnedFd reopened;
    int descriptor;
    Target target = Target::NeverBlocks;
    std::optional<JournalSocket> journal;
    Sys::Mutex lock;
    unsigned long dropped GUARDED_BY(lock) = 0;
    bool lineIsCut GUARDED_BY(lock) = false;
    std::string buffer GUARDED_BY(lock);
};

}  // namespace Pellmar::Service
