// Processes as /proc shows it: name, parent, start.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace Ctl {

struct ProcessStat {
    pid_t pid = 0;
    std::string name;  // set by the process itself; any bytes
    char state = 0;    // of proc(5): 'R', 'S', 'T', ...
    pid_t parent = 0;
    pid_t session = 0;                 // the pid of the session's leader
    std::chrono::milliseconds uptime;  // the machine's uptime when the process started
};

// Reads a running process or a zombie; nothing if there is none with that number.
std::optional<ProcessStat> ReadProcessStat(pid_t pid);

// Reads every process that this user may see; none without /proc.
std::map<pid_t, ProcessStat> ReadAllProcesses();

// Parses the text of /proc/PID/stat (proc(5)), whose times are in ticks of 1/`ticksPerSecond` s;
// nothing if it is invalid.
std::optional<ProcessStat> ParseProcessStat(std::string_view text, long ticksPerSecond);

// Whether a signal has stopped it, until SIGCONT.
inline bool IsStopped(const ProcessStat& process) { return process.state == 'T'; }

// How long the process has been running, and its start by the present wall clock.
std::chrono::milliseconds AgeOf(const ProcessStat& process);
std::chrono::system_clock::time_point StartOf(const ProcessStat& process);

}  // namespace Ctl
