#include "support/log_file.h"

#include "support/descriptors.h"
#include "support/host_directory.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <array>

#include <fcntl.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace Test {
namespace {

// Without "2024-05-06T07:08:09.123Z " at its beginning, if that is there.
std::string WithoutTime(const std::string& line) {
    constexpr std::string_view kForm = "0000-00-00T00:00:00.000Z ";
    const auto fits = [](char form, char byte) {
        return form == '0' ? byte >= '0' && byte <= '9' : byte == form;
    };
    const bool hasTime =
        line.size() >= kForm.size() && std::equal(kForm.begin(), kForm.end(), line.begin(), fits);
    return hasTime ? line.substr(kForm.size()) : line;
}

}  // namespace

LogFile::LogFile()
    : changes(OrThrow(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK), "watching the log")) {
    const TemporaryDirectory directory;
    const std::string path = directory.Path() + "log";
    file.Reset(OrThrow(::open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0600),
                       "a file for the log"));
    OrThrow(::inotify_add_watch(changes.Get(), path.c_str(), IN_MODIFY), "watching the log");
}

off_t LogFile::Size() const { return ::lseek(file.Get(), 0, SEEK_END); }

std::string LogFile::Text(off_t start) const {
    std::string text;
    std::array<char, 65536> piece;
    ssize_t count = 0;
    while ((count = ::pread(file.Get(), piece.data(), piece.size(),
                            start + static_cast<off_t>(text.size()))) > 0) {
        text.append(piece.data(), static_cast<std::size_t>(count));
    }
    return text;
}

std::vector<std::string> LogFile::Lines(off_t start) const {
    std::vector<std::string> lines = LinesOf(Text(start));
    std::transform(lines.begin(), lines.end(), lines.begin(), WithoutTime);
    return lines;
}

std::size_t LogFile::Count(std::string_view text, off_t start) const {
    const std::vector<std::string> lines = Lines(start);
    return static_cast<std::size_t>(std::count_if(
        lines.begin(), lines.end(),
        [text](const std::string& line) { return line.find(text) != std::string::npos; }));
}

void LogFile::ForgetChanges() const {
    std::array<char, 4096> events{};
    while (::read(changes.Get(), events.data(), events.size()) > 0) {
    }
}

}  // namespace Test
