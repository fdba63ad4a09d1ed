// Finds and runs the hooks, the programs that receive notices.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace Notify {

struct Hooks {
    std::vector<std::string> paths;     // in byte order of their names
    std::vector<std::string> refusals;  // "PATH: why, and what to do"
};

// The executable files of `directory`. They and the directory must belong to `owner` and be
// writable by nobody else; others are refused. Names that begin with "." and files that are not
// executable are skipped. A missing directory contains none.
Hooks FindHooks(const std::string& directory, uid_t owner = 0);

// Runs the hook with `input` as its standard input; its output goes to standard error. It gets an
// environment of its own with PATH and LC_ALL, and "/" as its directory. After `timeout`, or once
// `stop` (a descriptor, or -1) is readable, it is killed together with the processes it started in
// its process group. Returns what went wrong, or nothing when it exited with status 0.
std::string RunHook(const std::string& path, std::string_view input, std::chrono::seconds timeout,
                    int stop);

}  // namespace Notify
