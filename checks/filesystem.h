// File systems on this host's disks: space and inodes left, and whether they can still be written.
#pragma once

#include "sentrel_check/report.h"
#include "sentrel_check/settings.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace Checks {

// Blocks and inodes. `available` is what is left to programs without privileges.
struct FileSystemUsage {
    std::uint64_t blocks = 0;
    std::uint64_t freeBlocks = 0;
    std::uint64_t availableBlocks = 0;
    std::uint64_t inodes = 0;  // 0 where the file system has no fixed number of them
    std::uint64_t availableInodes = 0;
};

// Nothing when the file system at that mount point can't be asked.
using UsageReader = std::function<std::optional<FileSystemUsage>(const std::string&)>;

// By statvfs(3).
std::optional<FileSystemUsage> ReadUsage(const std::string& mountPoint);

// Reads /proc/1/mountinfo below `root`, or /proc/self/mountinfo where that is hidden, and asks
// `readUsage` with each mount point as it stands in there.
void CheckFileSystems(const std::string& root, const UsageReader& readUsage,
                      SentrelCheck::Settings& settings, SentrelCheck::Report& report);

}  // namespace Checks
