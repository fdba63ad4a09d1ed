#include "support/captured_log.h"

#include "platform/pellmar/log/log_sink.h"
#include "platform/pellmar/log/logger.h"
#include "platform/sys/owned_fd.h"
#include "support/deadline.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Test {

namespace {

using Pellmar::Service::Logger;
using Pellmar::Service::LogSink;

Sys::OwnedFd Checked(int descriptor, const char* what) {
    if (descriptor < 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return Sys::OwnedFd(descriptor);
}

Sys::OwnedFd OpenLog(const std::string& path) {
    return Checked(::open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_EXCL | O_CLOEXEC, 0600),
                   "open");
}

// Readable once the file at `path` was written to.
Sys::OwnedFd WatchWrites(const std::string& path) {
    Sys::OwnedFd watch = Checked(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK), "inotify_init1");
    if (::inotify_add_watch(watch.Get(), path.c_str(), IN_MODIFY) < 0) {
        throw std::system_error(errno, std::generic_category(), "inotify_add_watch");
    }
    return watch;
}

off_t SizeOf(int descriptor) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) {
        throw std::system_error(errno, std::generic_category(), "fstat");
    }
    return status.st_size;
}

std::string ReadFrom(int descriptor, off_t start) {
    std::string text;
    std::array<char, 65536> piece;
    ssize_t count = 0;
    while ((count = ::pread(descriptor, piece.data(), piece.size(),
                            start + static_cast<off_t>(text.size()))) > 0) {
        text.append(piece.data(), static_cast<std::size_t>(count));
    }
    return text;
}

}  // namespace

// What all logs of the process are written to, one behind the other: a file without a name.
struct CapturedLog::Recording {
    explicit Recording(const std::string& path)
        : file(OpenLog(path)), changes(WatchWrites(path)), sink(file.Get(), "") {}

    Sys::OwnedFd file;
    Sys::OwnedFd changes;
    LogSink sink;
};

CapturedLog::Recording& CapturedLog::SharedRecording() {
    // Never destroyed: nobody knows when the last thread that was logging has left the sink.
    static auto& recording = *new Recording(TemporaryDirectory().Path() + "log");
    return recording;
}

CapturedLog::CapturedLog()
    : recording(SharedRecording()),
      start(SizeOf(recording.file.Get())),
      previousLevel(Logger::sDefaultLogger->GetLevel()) {
    Logger::sDefaultLogger->SetLevel(7);
    LogSink::Replace(&recording.sink);
}

CapturedLog::~CapturedLog() {
    LogSink::Replace(nullptr);
    Logger::sDefaultLogger->SetLevel(previousLevel);
}

std::vector<std::string> CapturedLog::Lines() const {
    std::vector<std::string> lines;
    const std::string text = ReadFrom(recording.file.Get(), start);
    std::size_t begin = 0;
    for (std::size_t end = text.find('\n'); end != std::string::npos;
         end = text.find('\n', begin)) {
        const std::string line = text.substr(begin, end - begin);
        lines.push_back(line.substr(line.find(' ') + 1));  // after the time
        begin = end + 1;
    }
    return lines;
}

bool CapturedLog::Contains(std::string_view text) const { return Count(text) > 0; }

std::size_t CapturedLog::Count(std::string_view text) const {
    const std::vector<std::string> lines = Lines();
    return static_cast<std::size_t>(std::count_if(
        lines.begin(), lines.end(),
        [text](const std::string& line) { return line.find(text) != std::string::npos; }));
}

bool CapturedLog::WaitFor(std::string_view text, std::size_t count) const {
    const Deadline deadline;
    while (Count(text) < count) {
        pollfd entry{recording.changes.Get(), POLLIN, 0};
        if (::poll(&entry, 1, deadline.MillisecondsLeft()) == 0) {
            return false;
        }
        std::array<char, 4096> events;
        while (::read(recording.changes.Get(), events.data(), events.size()) > 0) {
        }
    }
    return true;
}

}  // namespace Test
