#include "checks/mounts.h"

#include "checks/host_files.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

namespace Checks {

namespace {

constexpr std::array<std::string_view, 14> kDiskTypes = {
    "bcachefs", "btrfs", "exfat",  "ext2",  "ext3",     "ext4", "f2fs",
    "jfs",      "msdos", "nilfs2", "ntfs3", "reiserfs", "vfat", "xfs"};
constexpr std::string_view kZfs = "zfs";

// Types that depend on another host or program to answer; a type matches if it begins with one.
constexpr std::array<std::string_view, 14> kWaitingTypes = {
    "9p",   "afs",    "autofs", "ceph",  "cifs",     "coda", "fuse",
    "gfs2", "lustre", "nfs",    "ocfs2", "orangefs", "smb",  "virtiofs"};

struct Line {
    std::string device;
    Mount mount;
};

bool StartsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

bool KeepsDataOnDisk(const std::string& type) {
    return type == kZfs ||
           std::find(kDiskTypes.begin(), kDiskTypes.end(), type) != kDiskTypes.end();
}

bool MayWait(const std::string& type) {
    return std::any_of(kWaitingTypes.begin(), kWaitingTypes.end(),
                       [&type](std::string_view start) { return StartsWith(type, start); });
}

// Blank, tab, line feed and backslash are written as a backslash and three octal digits.
std::string Unescape(std::string_view text) {
    std::string plain;
    const auto digitAt = [text](std::size_t i) { return static_cast<unsigned>(text[i] - '0'); };
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 3 < text.size() && digitAt(i + 1) < 4 && digitAt(i + 2) < 8 &&
            digitAt(i + 3) < 8) {
            plain += static_cast<char>(digitAt(i + 1) * 64 + digitAt(i + 2) * 8 + digitAt(i + 3));
            i += 3;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

bool HasReadOnly(std::string_view options) { return options == "ro" || StartsWith(options, "ro,"); }

// "36 35 98:0 /mnt1 /mnt2 rw,noatime master:1 - ext3 /dev/root rw,errors=continue"
std::optional<Line> ParseLine(std::string_view text) {
    const std::vector<std::string_view> fields = SplitFields(text);
    const auto separator = std::find(fields.begin(), fields.end(), "-");
    if (separator - fields.begin() < 6 || fields.end() - separator < 4) {
        return std::nullopt;
    }
    const bool isMountReadOnly = HasReadOnly(fields[5]);
    const bool isSystemReadOnly = HasReadOnly(separator[3]);
    return Line{std::string(fields[2]),
                {Unescape(fields[4]), std::string(separator[1]),
                 isMountReadOnly || isSystemReadOnly, !isMountReadOnly && isSystemReadOnly}};
}

bool IsAtOrBelow(const std::string& path, const std::string& directory) {
    return path == directory ||
           StartsWith(path, directory.back() == '/' ? directory : directory + "/");
}

}  // namespace

std::vector<Mount> ReadDiskMounts(const std::string& path, SentrelCheck::Report& report) {
    std::vector<Line> lines;
    std::vector<std::string> waitingPaths;
    bool isGarbled = false;
    (void)ForEachLine(path, [&](std::string_view text) {
        const std::optional<Line> line = ParseLine(text);
        if (!line || line->mount.path.empty()) {
            isGarbled = true;
        } else if (MayWait(line->mount.type)) {
            waitingPaths.push_back(line->mount.path);
        } else if (KeepsDataOnDisk(line->mount.type)) {
            lines.push_back(*line);
        }
        return true;
    });  // a file that can't be read has no mounts
    if (isGarbled) {
        FindGarbled(path, report);
    }
    std::vector<Mount> mounts;
    std::vector<std::string> devices;
    for (const Line& line : lines) {
        const bool mayWait = std::any_of(waitingPaths.begin(), waitingPaths.end(),
                                         [&line](const std::string& waitingPath) {
                                             return IsAtOrBelow(line.mount.path, waitingPath);
                                         });
        const bool isKnown =
            std::find(devices.begin(), devices.end(), line.device) != devices.end();
        if (!mayWait && !isKnown) {
            devices.push_back(line.device);
            mounts.push_back(line.mount);
        }
    }
    return mounts;
}

}  // namespace Checks
