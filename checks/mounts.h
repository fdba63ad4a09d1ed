// The mounted file systems whose space matters and that can be asked without ever waiting.
#pragma once

#include "sentrel_check/report.h"

#include <string>
#include <vector>

namespace Checks {

struct Mount {
    std::string path;  // of the mount point, unescaped
    std::string type;
    bool isReadOnly = false;
    // Mounted for writing, but the kernel has made the file system read-only, as it does after an
    // error of its disk.
    bool wasMadeReadOnly = false;
};

// Reads a file such as /proc/self/mountinfo (proc_pid_mountinfo(5)). Gives the file systems that
// keep data on this host's disks, each once, in the order of their mounting. Left out are those of
// the kernel and in memory, those of a network or a user program, which may never answer, and all
// that is mounted at or below one of these last. A line that makes no sense is a finding.
std::vector<Mount> ReadDiskMounts(const std::string& path, SentrelCheck::Report& report);

}  // namespace Checks
