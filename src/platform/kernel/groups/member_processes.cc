#include "platform/kernel/groups/member_processes.h"

#include "platform/sys/proc_file.h"

#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace Kernel {

namespace {

// At most 127 bytes from the start of /proc/PID/NAME; empty once the process has exited.
std::string ReadProcessFile(pid_t pid, std::string_view name) {
    const std::string path = "/proc/" + std::to_string(pid) + "/" + std::string(name);
    return Sys::ReadProcFile(path, 127);
}

// proc(5): statm is "SIZE RESIDENT SHARED ...", in pages.
std::optional<std::uint64_t> ReadResidentKB(pid_t pid) {
    static const auto kPageKB = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE)) / 1024;
    const std::string text = ReadProcessFile(pid, "statm");
    const std::size_t blank = text.find(' ');
    if (blank == std::string::npos) {
        return std::nullopt;
    }
    std::uint64_t pages = 0;
    const auto [stop, error] =
        std::from_chars(text.data() + blank + 1, text.data() + text.size(), pages);
    if (error != std::errc{}) {
        return std::nullopt;
    }
    return pages * kPageKB;
}

}  // namespace

std::vector<GroupProcess> DescribeProcesses(const std::vector<pid_t>& pids) {
    std::vector<GroupProcess> processes;
    for (const pid_t pid : pids) {
        std::string name = ReadProcessFile(pid, "comm");
        const std::optional<std::uint64_t> residentKB = ReadResidentKB(pid);
        if (name.empty() || !residentKB) {
            continue;
        }
        if (name.back() == '\n') {
            name.pop_back();
        }
        processes.push_back({pid, std::move(name), *residentKB});
    }
    return processes;
}

std::uint64_t SumResidentKB(const std::vector<pid_t>& pids) {
    std::uint64_t sum = 0;
    for (const pid_t pid : pids) {
        sum += ReadResidentKB(pid).value_or(0);
    }
    return sum;
}

}  // namespace Kernel
