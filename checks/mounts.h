// The mounted file systems on this host's own disks, which can be queried without blocking.
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

// Reads a file such as /proc/self/mountinfo (proc_pid_mountinfo(5)). Returns the file systems
// that keep data on this host's disks, each once, in mount order. Leaves out kernel and in-memory
// file systems, those of a network or a user program, which may never answer, and everything
// mounted at or below the latter. A malformed line is a finding.
std::vector<Mount> ReadDiskMounts(const std::string& path, SentrelCheck::Report& report);

}  // namespace Checks
