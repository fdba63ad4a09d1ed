// Composes one line at a time and gives it to standard error in one call that never waits.
#include "platform/pellmar/log/log_sink.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <exception>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Pellmar::Service {

namespace {

// A buffer that one long line has grown beyond this is given back.
constexpr std::size_t kKeptBufferSize = 16384;

std::atomic<LogSink*> replacement{nullptr};

std::string_view EnvironmentValue(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? std::string_view(value) : std::string_view();
}

// "2024-05-01T12:00:00.123Z", the time now.
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

std::string DeviceAndInode(const struct stat& status) {
    return std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino);
}

// A second, non-blocking way to what `descriptor` is open on; other holders of it notice nothing.
Sys::OwnedFd OpenOnceMore(int descriptor) {
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    return Sys::OwnedFd(::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

// Whether a pipe has room for PIPE_BUF bytes, or a terminal for some.
bool HasRoom(int descriptor) {
    pollfd entry{descriptor, POLLOUT, 0};
    return ::poll(&entry, 1, 0) == 1;
}

}  // namespace

LogSink& LogSink::StandardError() {
    static auto& sink = *new LogSink(STDERR_FILENO, EnvironmentValue("JOURNAL_STREAM"));
    return sink;
}

LogSink& LogSink::Current() {
    LogSink* const sink = replacement.load(std::memory_order_acquire);
    return sink != nullptr ? *sink : StandardError();
}

void LogSink::Replace(LogSink* sink) { replacement.store(sink, std::memory_order_release); }

LogSink::LogSink(int descriptor, std::string_view journalStream) : descriptor(descriptor) {
    Classify(journalStream);
}

void LogSink::Classify(std::string_view journalStream) {
    struct stat status{};
    if (::fstat(descriptor, &status) != 0) {
        return;  // nothing is open there: every line will be dropped
    }
    journal = !journalStream.empty() && journalStream == DeviceAndInode(status);
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

void LogSink::Write(int level, std::string_view loggerName, std::string_view message) noexcept {
    Sys::MutexLock guard(lock);
    try {
        if (dropped == 0 || WriteDropNotice()) {
            Compose(level, loggerName, message);
            dropped += WriteBuffer() ? 0UL : 1UL;
        } else {
            ++dropped;
        }
    } catch (const std::exception&) {
        ++dropped;  // memory is out
    }
    if (buffer.capacity() > kKeptBufferSize) {
        std::string().swap(buffer);
    }
}

// True when the reader now knows of all dropped lines.
bool LogSink::WriteDropNotice() {
    Compose(
        3, "sentrel",
        "Log lines dropped because standard error did not take them: " + std::to_string(dropped));
    if (!WriteBuffer()) {
        return false;
    }
    dropped = 0;
    return true;
}

void LogSink::Compose(int level, std::string_view loggerName, std::string_view message) {
    buffer.clear();
    if (lineIsCut) {
        buffer += '\n';
    }
    if (journal) {
        buffer += '<';
        buffer += std::to_string(std::clamp(level, 0, 7));  // the priorities of syslog
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

// True when all of the buffer was taken.
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
        return false;  // what was cut before stays cut
    }
    lineIsCut = buffer[static_cast<std::size_t>(taken) - 1] != '\n';
    return static_cast<std::size_t>(taken) == buffer.size();
}

}  // namespace Pellmar::Service
