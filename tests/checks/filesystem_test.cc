// The check of the file systems: which mounts count, and how they are judged.
#include "checks/filesystem.h"

#include "checks/fixture_host.h"
#include "checks/mounts.h"

#include <gmock/gmock.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace {

using Checks::FileSystemUsage;
using SentrelCheck::Status;
using Test::CheckOfRoot;
using Test::ExpectOutcomes;
using Test::ExpectSurvivesDamage;
using Test::FixtureHost;
using Test::HostFiles;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kMountInfo = "/proc/self/mountinfo";

// "ID PARENT DEVICE ROOT PATH OPTIONS - TYPE SOURCE SUPEROPTIONS"
std::string Line(const std::string& device, const std::string& path, const std::string& type,
                 const std::string& options = "rw,relatime",
                 const std::string& superOptions = "rw,errors=continue") {
    return "36 35 " + device + " / " + path + " " + options + " shared:1 master:2 - " + type +
           " /dev/x " + superOptions + "\n";
}

std::vector<std::string> MountedPaths(const std::string& mountInfo) {
    const FixtureHost host(HostFiles{{kMountInfo, mountInfo}});
    SentrelCheck::Report report("filesystem");
    std::vector<std::string> paths;
    for (const Checks::Mount& mount : Checks::ReadDiskMounts(host.Root() + kMountInfo, report)) {
        paths.push_back(mount.path);
    }
    EXPECT_EQ(report.GetStatus(), Status::Ok) << report.Reason();
    return paths;
}

TEST(DiskMounts, ListEachFileSystemOnce) {
    EXPECT_THAT(MountedPaths(Line("8:1", "/", "ext4") + Line("8:2", "/boot", "vfat") +
                             Line("8:1", "/srv/bind", "ext4") + Line("0:40", "/data", "zfs")),
                ElementsAre("/", "/boot", "/data"));
}

TEST(DiskMounts, LeaveOutFileSystemsThatAreNotOnADisk) {
    for (const char* type : {"proc", "sysfs", "tmpfs", "cgroup2", "overlay", "squashfs", "devtmpfs",
                             "debugfs", "hugetlbfs", "binfmt_misc", "fakefs"}) {
        EXPECT_THAT(MountedPaths(Line("0:5", "/x", type)), IsEmpty()) << type;
    }
}

TEST(DiskMounts, LeaveOutFileSystemsThatMayBlockAndEverythingBelowThem) {
    for (const char* type : {"nfs", "nfs4", "cifs", "smb3", "ceph", "9p", "fuse.sshfs", "fuseblk",
                             "autofs", "virtiofs", "gfs2", "ocfs2", "afs"}) {
        EXPECT_THAT(
            MountedPaths(Line("8:1", "/", "ext4") + Line("0:5", "/net", type) +
                         Line("8:2", "/net/local", "ext4") + Line("8:3", "/network", "xfs")),
            ElementsAre("/", "/network"))
            << type;
    }
    EXPECT_THAT(MountedPaths(Line("8:1", "/a/b", "ext4") + Line("0:5", "/a", "nfs")), IsEmpty())
        << "hidden by a mount above it";
}

TEST(DiskMounts, HaveUnescapedPaths) {
    EXPECT_THAT(MountedPaths(Line("8:1", R"(/a\040b\134c\011)", "ext4") +
                             Line("8:2", R"(/d\04)", "ext4") + Line("8:3", R"(/e\999)", "ext4")),
                ElementsAre("/a b\\c\t", R"(/d\04)", R"(/e\999)"));
}

TEST(DiskMounts, ReportMalformedLines) {
    const char* const rows[] = {"rubbish\n", "36 35 8:1 / /x rw - ext4 /dev/x\n",
                                "36 35 8:1 / /x - ext4 /dev/x rw\n", "\n"};
    for (const char* row : rows) {
        const FixtureHost host(HostFiles{{kMountInfo, row}});
        SentrelCheck::Report report("filesystem");
        EXPECT_THAT(Checks::ReadDiskMounts(host.Root() + kMountInfo, report), IsEmpty()) << row;
        EXPECT_EQ(report.GetStatus(), Status::Unknown) << row;
    }
}

// A check whose file systems have the usages of `usages`.
CheckOfRoot CheckWith(const std::map<std::string, FileSystemUsage>& usages) {
    return [usages](const std::string& root, SentrelCheck::Settings& settings,
                    SentrelCheck::Report& report) {
        const auto read = [&](const std::string& path) {
            const auto found = usages.find(path);
            return found == usages.end() ? std::nullopt : std::optional(found->second);
        };
        Checks::CheckFileSystems(root, read, settings, report);
    };
}

TEST(CheckFileSystems, JudgesSpaceAndInodes) {
    const CheckOfRoot check = CheckWith({
        {"/", {1000, 300, 250, 1000, 500}},
        {"/tight", {1000, 90, 90, 0, 0}},     // without a fixed number of inodes
        {"/reserved", {1000, 60, 10, 0, 0}},  // the last blocks are root's
        {"/small", {1000, 900, 900, 100, 4}},
        {"/empty", {0, 0, 0, 0, 0}},
    });
    const std::string good = Line("8:1", "/", "ext4");
    const auto with = [&good](const std::string& line) {
        return HostFiles{{kMountInfo, good + line}};
    };
    ExpectOutcomes(
        check,
        {
            {"good", with(""), Status::Ok, "space and inodes suffice on all file systems (1)"},
            {"little space", with(Line("8:2", "/tight", "xfs")), Status::Warning,
             "space free on /tight 9 % is below 10 %"},
            {"reserved space", with(Line("8:2", "/reserved", "ext4")), Status::Error,
             "space free on /reserved 1.05 % is below 5 %"},
            {"few inodes", with(Line("8:2", "/small", "ext4")), Status::Error,
             "inodes free on /small 4 % is below 5 %"},
            {"ignored", with(Line("8:2", "/small", "ext4")), Status::Ok,
             "space and inodes suffice on all file systems (1)", R"({"ignore": ["/sm*"]})"},
            {"no answer", with(Line("8:2", "/gone", "ext4")), Status::Unknown,
             "cannot determine the free space of /gone"},
            {"mounted read-only", with(Line("8:2", "/tight", "ext4", "ro", "ro")), Status::Ok,
             "space and inodes suffice on all file systems (1)"},
            {"made read-only", with(Line("8:2", "/tight", "ext4", "rw", "ro,errors=remount-ro")),
             Status::Error,
             "the kernel made /tight read-only; see the kernel log and check the disk"},
            {"read-only for a service, not for its host",
             {{kMountInfo, Line("8:2", "/tight", "xfs", "ro")},
              {"/proc/1/mountinfo", Line("8:2", "/tight", "xfs")}},
             Status::Warning,
             "space free on /tight 9 % is below 10 %"},
            {"no disks",
             {{kMountInfo, Line("0:5", "/", "tmpfs")}},
             Status::None,
             "this host has no writable file system on a disk"},
        });
}

TEST(CheckFileSystems, SurvivesDamagedFiles) {
    ExpectSurvivesDamage(CheckWith({{"/", {1000, 300, 250, 1000, 500}}}),
                         {{kMountInfo, Line("8:1", "/", "ext4") + Line("8:2", "/x", "xfs")}});
}

}  // namespace
