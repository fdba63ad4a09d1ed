// Writes log messages to standard error or to the journal, one write each, without ever blocking.
// Chooses one of three forms and counts the messages that it had to drop.
//
//   plain     2024-05-01T12:00:00.123Z 3 NAME: MESSAGE
//   record    MESSAGE=MESSAGE            to the journal's own socket, one field a line
//             PRIORITY=3                 the level, within 0 to 7
//             SYSLOG_IDENTIFIER=sentrel  the program
//             SENTREL_LOGGER=NAME
//             SENTREL_REPORT=, SENTREL_PLUGIN=, SENTREL_PID=, MESSAGE_ID=   where known (LogFields)
//   prefixed  <3>NAME: MESSAGE           to the journal without its socket (sd-daemon(3))
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
    // The sink on descriptor 2, opened on first use and never destroyed.
    static LogSink& StandardError();

    // The sink for all messages: StandardError unless a test has replaced it.
    static LogSink& Current();
    // Directs all messages to `sink`, which outlives its use; null restores StandardError.
    static void Replace(LogSink* sink);

    // Borrows `descriptor`, which must outlive the sink. `journalStream` is the value of the
    // environment variable JOURNAL_STREAM (see Sys::IsJournal): if it identifies `descriptor`,
    // records go to the socket at `journalSocketPath`. A pipe or terminal is opened again, so that
    // only this sink uses it non-blocking; a file is written directly.
    LogSink(int descriptor, std::string_view journalStream,
            const char* journalSocketPath = kJournalSocketPath);

    // Writes one message, which contains no control characters. Never blocks: a message that is not
    // accepted whole at once is dropped, and the next accepted message is preceded by one of the
    // logger "sentrel" at level 3 that counts the dropped ones. After a partially written line the
    // next one starts on a new line. Any thread; SIGPIPE must be ignored.
    void Write(int level, std::string_view loggerName, std::string_view message,
               const LogFields& fields = kNoFields) noexcept EXCLUDES(lock);

  private:
    enum class Target {
        NeverBlocks,  // a file, or this sink's own non-blocking descriptor
        Socket,
        MayBlock  // a pipe or terminal that could not be opened again
    };

    void Classify();
    // Deliver and WriteDropNotice return whether the message was accepted.
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
