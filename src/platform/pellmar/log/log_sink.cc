// Composes one message at a time and writes it with one call that never blocks.
#include "platform/pellmar/log/log_sink.h"

#include "platform/pellmar/log/escape.h"
#include "platform/sys/journal_stream.h"
#include "platform/sys/utf8.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <ctime>
#include <exception>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Pellmar::Service {

namespace {

// A buffer that a long line has enlarged beyond this is freed.
constexpr std::size_t kKeptBufferSize = 16384;

std::atomic<LogSink*> replacement{nullptr};

// Identifies the journal's records of an event; null for None.
const char* MessageId(LogEvent event) {
    switch (event) {
        case LogEvent::None:
            return nullptr;
        case LogEvent::Start:
            return "b97a7de035cd4d738df92751f395dd46";
        case LogEvent::Launch:
            return "dfb8aae03e5847b88742b5bf66add20e";
        case LogEvent::Kill:
            return "bf54e56ffa724e43be40ddf06a9c7291";
        case LogEvent::Refusal:
            return "b4c65abb2251446f870e867599b6e281";
        case LogEvent::LostReservation:
            return "39af87aa0e1e4d0caf5db708e66a6773";
    }
    return nullptr;
}

// Maps a level to a syslog priority.
int Priority(int level) { return std::clamp(level, 0, 7); }

void AppendField(std::string& record, std::string_view name, std::string_view value) {
    record += name;
    record += '=';
    record += value;
    record += '\n';
}

// Escapes the value, so that no part of it can end the field.
void AppendForeignField(std::string& record, std::string_view name, std::string_view value) {
    if (!value.empty()) {
        std::string escaped;
        AppendEscaped(escaped, Sys::CutUtf8(value, kMaxArgumentSize));
        AppendField(record, name, escaped);
    }
}

// Appends the current time, such as "2024-05-01T12:00:00.123Z".
void AppendTime(std::string& line) {
    timespec now{};
    (void)::clock_gettime(CLOCK_REALTIME, &now);  // cannot fail for this clock
    tm utc{};
    (void)::gmtime_r(&now.tv_sec, &utc);  // fails for years beyond an int only
    std::array<char, 32> text;
    line.append(text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &utc));
    const auto milliseconds = static_cast<unsigned>(now.tv_nsec / 1'000'000);
    line += '.';
    line += static_cast<char>('0' + milliseconds / 100);
    line += static_cast<char>('0' + milliseconds / 10 % 10);
    line += static_cast<char>('0' + milliseconds % 10);
    line += 'Z';
}

// Opens the file of `descriptor` again, non-blocking; other users of the descriptor are unaffected.
Sys::OwnedFd OpenOnceMore(int descriptor) {
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    return Sys::OwnedFd(::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

// Whether a pipe can take PIPE_BUF bytes, or a terminal some.
bool HasRoom(int descriptor) {
    pollfd entry{descriptor, POLLOUT, 0};
    return ::poll(&entry, 1, 0) == 1;
}

}  // namespace

LogSink& LogSink::StandardError() {
    static auto& sink = *new LogSink(STDERR_FILENO, Sys::JournalStream());
    return sink;
}

LogSink& LogSink::Current() {
    LogSink* const sink = replacement.load(std::memory_order_acquire);
    return sink != nullptr ? *sink : StandardError();
}

void LogSink::Replace(LogSink* sink) { replacement.store(sink, std::memory_order_release); }

LogSink::LogSink(int descriptor, std::string_view journalStream, const char* journalSocketPath)
    : descriptor(descriptor) {
    if (Sys::IsJournal(descriptor, journalStream)) {
        journal.emplace(journalSocketPath);
    }
    Classify();
}

void LogSink::Classify() {
    struct stat status{};
    if (::fstat(descriptor, &status) != 0) {
        return;  // the descriptor is closed: every line will be dropped
    }
    if (S_ISSOCK(status.st_mode)) {
        target = Target::Socket;
        return;
    }
    if (!S_ISFIFO(status.st_mode) && ::isatty(descriptor) == 0) {
        return;
    }
    reopened = OpenOnceMore(descriptor);
    if (reopened.IsOpen()) {
        this->descriptor = reopened.Get();
    } else {
        target = Target::MayBlock;
    }
}

void LogSink::Write(int level, std::string_view loggerName, std::string_view message,
                    const LogFields& fields) noexcept {
    Sys::MutexLock guard(lock);
    try {
        const bool isTaken =
            (dropped == 0 || WriteDropNotice()) && Deliver(level, loggerName, message, fields);
        dropped += isTaken ? 0UL : 1UL;
    } catch (const std::exception&) {
        ++dropped;  // memory is exhausted
    }
    if (buffer.capacity() > kKeptBufferSize) {
        std::string().swap(buffer);
    }
}

// When the notice is accepted, the reader knows about all dropped lines.
bool LogSink::WriteDropNotice() {
    const std::string notice =
        "Log lines dropped because standard error was blocked: " + std::to_string(dropped);
    if (!Deliver(3, "sentrel", notice, kNoFields)) {
        return false;
    }
    dropped = 0;
    return true;
}

bool LogSink::Deliver(int level, std::string_view loggerName, std::string_view message,
                      const LogFields& fields) {
    if (journal) {
        ComposeRecord(level, loggerName, message, fields);
        const JournalSocket::Outcome outcome = journal->Send(buffer);
        if (outcome != JournalSocket::Outcome::Unavailable) {
            return outcome == JournalSocket::Outcome::Sent;
        }
    }
    ComposeLine(level, loggerName, message);
    return WriteBuffer();
}

void LogSink::ComposeRecord(int level, std::string_view loggerName, std::string_view message,
                            const LogFields& fields) {
    buffer.clear();
    AppendField(buffer, "MESSAGE", message);
    AppendField(buffer, "PRIORITY", std::to_string(Priority(level)));
    AppendField(buffer, "SYSLOG_IDENTIFIER", program_invocation_short_name);
    AppendField(buffer, "SENTREL_LOGGER", loggerName);
    AppendForeignField(buffer, "SENTREL_REPORT", fields.report);
    AppendForeignField(buffer, "SENTREL_PLUGIN", fields.plugin);
    if (fields.pid != 0) {
        AppendField(buffer, "SENTREL_PID", std::to_string(fields.pid));
    }
    if (const char* const identifier = MessageId(fields.event)) {
        AppendField(buffer, "MESSAGE_ID", identifier);
    }
}

void LogSink::ComposeLine(int level, std::string_view loggerName, std::string_view message) {
    buffer.clear();
    if (lineIsCut) {
        buffer += '\n';
    }
    if (journal) {
        buffer += '<';
        buffer += std::to_string(Priority(level));
        buffer += '>';
    } else {
        AppendTime(buffer);
        buffer += ' ';
        buffer += std::to_string(level);
        buffer += ' ';
    }
    buffer += loggerName;
    buffer += ": ";
    buffer += message;
    buffer += '\n';
}

// Returns true if the whole buffer was written.
bool LogSink::WriteBuffer() {
    std::size_t count = buffer.size();
    if (target == Target::MayBlock) {
        if (!HasRoom(descriptor)) {
            return false;
        }
        count = std::min<std::size_t>(count, PIPE_BUF);
    }
    ssize_t taken = 0;
    do {
        taken = target == Target::Socket
                    ? ::send(descriptor, buffer.data(), count, MSG_DONTWAIT | MSG_NOSIGNAL)
                    : ::write(descriptor, buffer.data(), count);
    } while (taken < 0 && errno == EINTR);
    if (taken <= 0) {
        return false;  // a line that was cut before stays cut
    }
    lineIsCut = buffer[static_cast<std::size_t>(taken) - 1] != '\n';
    return static_cast<std::size_t>(taken) == buffer.size();
}

}  // namespace Pellmar::Service
