#include "support/captured_log.h"

#include "platform/pellmar/logger.h"
#include "support/deadline.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
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
    return Checked(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600), "open");
}

// Readable once the file at `path` was written to.
Sys::OwnedFd WatchWrites(const std::string& path) {
    Sys::OwnedFd watch = Checked(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK), "inotify_init1");
    if (::inotify_add_watch(watch.Get(), path.c_str(), IN_MODIFY) < 0) {
        throw std::system_error(errno, std::generic_category(), "inotify_add_watch");
    }
    return watch;
}

std::string ReadAll(int descriptor) {
    std::string text;
    std::array<char, 65536> piece;
    ssize_t count = 0;
    while ((count = ::pread(descriptor, piece.data(), piece.size(),
                            static_cast<off_t>(text.size()))) > 0) {
        text.append(piece.data(), static_cast<std::size_t>(count));
    }
    return text;
}

}  // namespace

CapturedLog::CapturedLog()
    : file(OpenLog(directory.Path() + "log")),
      changes(WatchWrites(directory.Path() + "log")),
      sink(file.Get(), ""),
      previousLevel(Logger::sDefaultLogger->GetLevel()) {
    Logger::sDefaultLogger->SetLevel(7);
    LogSink::Replace(&sink);
}

CapturedLog::~CapturedLog() {
    LogSink::Replace(nullptr);
    Logger::sDefaultLogger->SetLevel(previousLevel);
}

std::vector<std::string> CapturedLog::Lines() const {
    std::vector<std::string> lines;
    const std::string text = ReadAll(file.Get());
    std::size_t start = 0;
    for (std::size_t end = text.find('\n'); end != std::string::npos;
         end = text.find('\n', start)) {
        const std::string line = text.substr(start, end - start);
        lines.push_back(line.substr(line.find(' ') + 1));  // after the time
        start = end + 1;
    }
    return lines;
}

bool CapturedLog::Contains(std::string_view text) const {
    const std::vector<std::string> lines = Lines();
    return std::any_of(lines.begin(), lines.end(), [text](const std::string& line) {
        return line.find(text) != std::string::npos;
    });
}

bool CapturedLog::WaitFor(std::string_view text) const {
    const Deadline deadline;
    while (!Contains(text)) {
        pollfd entry{changes.Get(), POLLIN, 0};
        if (::poll(&entry, 1, deadline.MillisecondsLeft()) == 0) {
            return false;
        }
        std::array<char, 4096> events;
        while (::read(changes.Get(), events.data(), events.size()) > 0) {
        }
    }
    return true;
}

}  // namespace Test
