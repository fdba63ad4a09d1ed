// What /proc tells about one process: which it is, whose child, since when it runs.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace Ctl {

struct ProcessStat {
    pid_t pid = 0;
    std::string name;  // as the process calls itself; any bytes
    pid_t parent = 0;
    pid_t session = 0;                 // the pid of the session's leader
    std::chrono::milliseconds uptime;  // of the machine, when the process started
};

// Of a running process, or of a zombie; nothing when there is none of that number.
std::optional<ProcessStat> ReadProcessStat(pid_t pid);

// The text of /proc/PID/stat (proc(5)); nothing when it is none. `ticksPerSecond` is its unit.
std::optional<ProcessStat> ParseProcessStat(std::string_view text, long ticksPerSecond);

// How long the process has been running, and since when by the clock on the wall, as it stands now.
std::chrono::milliseconds AgeOf(const ProcessStat& process);
std::chrono::system_clock::time_point StartOf(const ProcessStat& process);

}  // namespace Ctl
