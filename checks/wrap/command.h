// Runs a command that may hang, flood its output or crash.
#pragma once

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace Wrap {

// A command that writes more than this, on both streams together, is killed.
inline constexpr std::size_t kMaxOutputBytes = 1024 * 1024;

struct CommandResult {
    enum class End { Exited, Signalled, TimedOut, Flooded };
    End end = End::Exited;
    int code = 0;        // the exit status (127 if it could not be executed), or the signal
    std::string output;  // the first 64 KiB
    std::string errors;  // the first 64 KiB of standard error
};

// Runs `command` with execve(2), exactly that environment and no standard input. When it exits or
// must be killed, its whole process group is killed; it is also killed when this process ends.
// Throws std::system_error if no process can be created.
CommandResult RunCommand(const std::vector<std::string>& command,
                         const std::map<std::string, std::string>& environment,
                         std::chrono::seconds timeLimit);

}  // namespace Wrap
