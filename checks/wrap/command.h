// One run of a command that is not trusted to end, to be quiet or to be well.
#pragma once

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace Wrap {

// Of more than this on both streams together the command is killed.
inline constexpr std::size_t kMaxOutputBytes = 1024 * 1024;

struct CommandResult {
    enum class End { Exited, Signalled, TimedOut, Flooded };
    End end = End::Exited;
    int code = 0;        // the exit status (127: it could not be executed), or the signal
    std::string output;  // the first 64 KiB
    std::string errors;  // the same of standard error
};

// Runs it, by execve(2), with that environment and nothing else, and without standard input. When
// it ends, or has to be killed, all processes of its process group are killed; it is killed too
// when this process ends. Throws std::system_error when there can be no process.
CommandResult RunCommand(const std::vector<std::string>& command,
                         const std::map<std::string, std::string>& environment,
                         std::chrono::seconds timeLimit);

}  // namespace Wrap
