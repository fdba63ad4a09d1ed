#include "checks/host_files.h"

#include "platform/sys/owned_fd.h"
#include "platform/sys/read_file.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <memory>
#include <system_error>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Checks {

namespace {

constexpr std::size_t kSmallFileBytes = 4096;
constexpr std::size_t kMaxLineBytes = 64 * 1024;

Sys::OwnedFd Open(const std::string& path) {
    return Sys::OwnedFd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
}

// Appends `text` up to the maximum length of a line.
void Extend(std::string& line, std::string_view text) {
    line += text.substr(0, kMaxLineBytes - std::min(line.size(), kMaxLineBytes));
}

}  // namespace

std::optional<std::string> ReadSmallFile(const std::string& path) {
    std::string text;
    if (Sys::ReadAll(Open(path).Get(), kSmallFileBytes, text) != 0) {
        return std::nullopt;
    }
    text.erase(text.find_last_not_of('\n') + 1);
    return text;
}

bool ForEachLine(const std::string& path, const std::function<bool(std::string_view)>& take) {
    const Sys::OwnedFd file = Open(path);
    std::array<char, 4096> buffer{};
    std::string line;
    ssize_t count = 0;
    while ((count = ::read(file.Get(), buffer.data(), buffer.size())) > 0) {
        std::string_view rest(buffer.data(), static_cast<std::size_t>(count));
        for (std::size_t end = rest.find('\n'); end != std::string_view::npos;
             end = rest.find('\n')) {
            Extend(line, rest.substr(0, end));
            if (!take(line)) {
                return true;
            }
            line.clear();
            rest.remove_prefix(end + 1);
        }
        Extend(line, rest);
    }
    if (!line.empty()) {
        (void)take(line);  // the last line, so the result does not matter
    }
    return count == 0;
}

std::optional<std::uint64_t> ReadNumber(const std::string& path, SentrelCheck::Report& report) {
    const std::optional<std::string> text = ReadSmallFile(path);
    const std::optional<std::uint64_t> number = text ? ParseNumber(*text) : std::nullopt;
    if (text && !number) {
        FindGarbled(path, report);
    }
    return number;
}

void FindGarbled(const std::string& path, SentrelCheck::Report& report) {
    report.Find(SentrelCheck::Status::Unknown, path + " has unexpected content");
}

std::vector<std::string> ListDirectory(const std::string& path) {
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(::opendir(path.c_str()), ::closedir);
    std::vector<std::string> names;
    while (const dirent* entry = directory ? ::readdir(directory.get()) : nullptr) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") {
            names.push_back(name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

bool Exists(const std::string& path) {
    // Not access(2), which fails for an existing device that the control group forbids.
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0;
}

std::vector<std::string_view> SplitFields(std::string_view line) {
    constexpr std::string_view kBlanks = " \t";
    std::vector<std::string_view> fields;
    for (std::size_t start = line.find_first_not_of(kBlanks); start != std::string_view::npos;) {
        const std::size_t end = std::min(line.find_first_of(kBlanks, start), line.size());
        fields.push_back(line.substr(start, end - start));
        start = line.find_first_not_of(kBlanks, end);
    }
    return fields;
}

std::optional<std::uint64_t> ParseNumber(std::string_view text) {
    std::uint64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [rest, problem] = std::from_chars(text.data(), end, number);
    return problem == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

double Percent(double part, double whole) {
    return whole > 0 ? std::round(part / whole * 10000) / 100 : 0;
}

}  // namespace Checks
