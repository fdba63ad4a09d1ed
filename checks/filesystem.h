// File systems on this host's disks: free space and inodes, and whether they are still writable.
#pragma once

#include "sentrel_check/report.h"
#include "sentrel_check/settings.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace Checks {

// Blocks and inodes. The available ones are those that unprivileged programs can still use.
struct FileSystemUsage {
    std::uint64_t blocks = 0;
    std::uint64_t freeBlocks = 0;
    std::uint64_t availableBlocks = 0;
    std::uint64_t inodes = 0;  // 0 where the file system has no fixed number of them
    std::uint64_t availableInodes = 0;
};

// Returns nothing if the file system at that mount point cannot be queried.
using UsageReader = std::function<std::optional<FileSystemUsage>(const std::string&)>;

// Reads the usage with statvfs(3).
std::optional<FileSystemUsage> ReadUsage(const std::string& mountPoint);

// Reads /proc/1/mountinfo below `root`, or /proc/self/mountinfo if that is hidden, and calls
// `readUsage` with each mount point exactly as listed there.
void CheckFileSystems(const std::string& root, const UsageReader& readUsage,
                      SentrelCheck::Settings& settings, SentrelCheck::Report& report);

}  // namespace Checks
