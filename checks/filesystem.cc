#include "checks/filesystem.h"

#include "checks/host_files.h"
#include "checks/mounts.h"

#include <string>
#include <vector>

#include <sys/statvfs.h>

namespace Checks {

namespace {

using SentrelCheck::Bad;
using SentrelCheck::Limits;
using SentrelCheck::Report;
using SentrelCheck::Settings;
using SentrelCheck::Status;

constexpr Limits kSpaceFree{10, 5};
constexpr Limits kInodesFree{10, 5};

// More would not fit into a report, and no host has more.
constexpr std::size_t kMaxMounts = 500;

void JudgeUsage(const std::string& path, const FileSystemUsage& usage, const Limits& space,
                const Limits& inodes, Report& report) {
    // Blocks reserved for root are neither used nor available.
    const double used = static_cast<double>(usage.blocks) - static_cast<double>(usage.freeBlocks);
    const double available = static_cast<double>(usage.availableBlocks);
    report.Judge("space free on " + path,
                 {"space_free:" + path, Percent(available, used + available), "%", space},
                 Bad::Low);
    if (usage.inodes > 0) {
        report.Judge(
            "inodes free on " + path,
            {"inodes_free:" + path,
             Percent(static_cast<double>(usage.availableInodes), static_cast<double>(usage.inodes)),
             "%", inodes},
            Bad::Low);
    }
}

// The mount table of the host's first process, if it can be read: a service may see file systems as
// read-only that the host itself can write.
std::string MountTable(const std::string& root) {
    const std::string hostTable = root + "/proc/1/mountinfo";
    return ReadSmallFile(hostTable).value_or("").empty() ? root + "/proc/self/mountinfo"
                                                         : hostTable;
}

}  // namespace

std::optional<FileSystemUsage> ReadUsage(const std::string& mountPoint) {
    struct statvfs usage{};
    if (::statvfs(mountPoint.c_str(), &usage) != 0) {
        return std::nullopt;
    }
    return FileSystemUsage{usage.f_blocks, usage.f_bfree, usage.f_bavail, usage.f_files,
                           usage.f_favail};
}

void CheckFileSystems(const std::string& root, const UsageReader& readUsage, Settings& settings,
                      Report& report) {
    const Limits space = settings.GetLimits("space_free", kSpaceFree, Bad::Low);
    const Limits inodes = settings.GetLimits("inodes_free", kInodesFree, Bad::Low);
    const std::vector<std::string> ignored = settings.GetList("ignore");
    settings.RefuseUnknown();

    std::size_t count = 0;
    for (const Mount& mount : ReadDiskMounts(MountTable(root), report)) {
        if (SentrelCheck::MatchesAny(ignored, mount.path) || count == kMaxMounts) {
            continue;
        }
        if (mount.wasMadeReadOnly) {
            report.Find(Status::Error, "the kernel made " + mount.path +
                                           " read-only; see the kernel log and check the disk");
        }
        if (mount.isReadOnly) {
            continue;  // nobody runs out of space there
        }
        const std::optional<FileSystemUsage> usage = readUsage(mount.path);
        if (usage && usage->blocks > 0) {
            JudgeUsage(mount.path, *usage, space, inodes, report);
            ++count;
        } else {
            report.Find(Status::Unknown, "cannot determine the free space of " + mount.path);
        }
    }
    report.Summarize("space and inodes suffice on all file systems (" + std::to_string(count) +
                     ")");
    if (count == 0 && report.GetStatus() == Status::Ok) {
        report.Find(Status::None, "this host has no writable file system on a disk");
    }
}

}  // namespace Checks
