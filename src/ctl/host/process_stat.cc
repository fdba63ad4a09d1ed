#include "ctl/host/process_stat.h"

#include "platform/sys/proc_file.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <system_error>
#include <utility>

#include <time.h>
#include <unistd.h>

namespace Ctl {

namespace {

// Field numbers of proc(5). The name is the second field; from kFirstField on, a blank precedes
// each field.
constexpr std::size_t kStateField = 3;
constexpr std::size_t kParentField = 4;
constexpr std::size_t kSessionField = 6;
constexpr std::size_t kStartField = 22;
constexpr std::size_t kFirstField = 3;

// Time since the machine's start, including suspend: the clock of field 22.
std::chrono::milliseconds Uptime() {
    timespec now{};
    (void)::clock_gettime(CLOCK_BOOTTIME, &now);  // cannot fail for an existing clock
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec));
}

template <typename Number>
bool ParseField(std::string_view field, Number& number) {
    const auto [stop, error] = std::from_chars(field.data(), field.data() + field.size(), number);
    return error == std::errc{} && stop == field.data() + field.size();
}

}  // namespace

std::optional<ProcessStat> ParseProcessStat(std::string_view text, long ticksPerSecond) {
    const std::size_t open = text.find(" (");
    const std::size_t close = text.rfind(") ");  // the name may contain parentheses and blanks
    if (open == std::string_view::npos || close == std::string_view::npos || close < open + 2) {
        return std::nullopt;
    }
    ProcessStat process;
    process.name = text.substr(open + 2, close - open - 2);
    long long ticks = -1;
    bool isWhole = ParseField(text.substr(0, open), process.pid);
    std::string_view rest = text.substr(close + 2);
    for (std::size_t field = kFirstField; field <= kStartField && isWhole; ++field) {
        const std::string_view value = rest.substr(0, rest.find(' '));
        isWhole = !value.empty() && (field != kParentField || ParseField(value, process.parent)) &&
                  (field != kSessionField || ParseField(value, process.session)) &&
                  (field != kStartField || ParseField(value, ticks));
        if (field == kStateField && isWhole) {
            process.state = value.front();
        }
        rest.remove_prefix(std::min(rest.size(), value.size() + 1));
    }
    if (!isWhole || ticks < 0) {
        return std::nullopt;
    }
    process.uptime = std::chrono::milliseconds(ticks * 1000 / ticksPerSecond);
    return process;
}

std::optional<ProcessStat> ReadProcessStat(pid_t pid) {
    static const long sTicksPerSecond = ::sysconf(_SC_CLK_TCK);
    return ParseProcessStat(Sys::ReadProcFile("/proc/" + std::to_string(pid) + "/stat"),
                            sTicksPerSecond);
}

std::map<pid_t, ProcessStat> ReadAllProcesses() {
    std::map<pid_t, ProcessStat> all;
    std::error_code error;  // without /proc none are found
    for (const auto& entry : std::filesystem::directory_iterator("/proc", error)) {
        const std::string name = entry.path().filename();
        pid_t pid = 0;
        const auto [stop, problem] = std::from_chars(name.data(), name.data() + name.size(), pid);
        if (problem != std::errc{} || stop != name.data() + name.size()) {
            continue;
        }
        if (std::optional<ProcessStat> stat = ReadProcessStat(pid)) {
            all.emplace(pid, std::move(*stat));
        }
    }
    return all;
}

std::chrono::milliseconds AgeOf(const ProcessStat& process) { return Uptime() - process.uptime; }

std::chrono::system_clock::time_point StartOf(const ProcessStat& process) {
    return std::chrono::system_clock::now() - AgeOf(process);
}

}  // namespace Ctl
