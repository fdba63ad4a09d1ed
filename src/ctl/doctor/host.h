// The host as "doctor" looks at it: what all its subjects need, read once, and how they look at
// files.
#pragma once

#include "ctl/command/command.h"
#include "ctl/host/daemon_process.h"
#include "ctl/host/process_stat.h"
#include "ctl/host/run_user.h"
#include "ctl/show/finding.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace Ctl {

struct DoctorHost {
    const GivenOptions& options;
    std::chrono::system_clock::time_point now;
    std::int32_t intakePort = 0;                 // as the settings have it; 0: they cannot be read
    std::string settingsProblem = {};            // then: why
    std::optional<ProcessStat> portHolder = {};  // of the intake port, whatever program it is
    // The process of the daemon's name that holds the intake port, else the port of the API.
    std::optional<DaemonProcess> daemon = {};
    RunUser user = {};  // the daemon's; without one, sentrel or, if there is none, root
    std::string reportDirectory =
        {};  // ends in "/"; of this machine, not below the host root any more
    std::string reportProblem = {};  // why the daemon has none; else empty
};

// What `options` do not name is that of the daemon. Throws nothing for what it cannot look at.
DoctorHost LookAtHost(const GivenOptions& options);

using Findings = std::vector<Finding>;

// This user may not see what there is to look at.
class CannotLook : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// What stands at `path`, links followed; nothing when it is missing, or a link to nothing. Throws
// CannotLook.
std::optional<struct stat> StatOf(const std::string& path);

struct AccessFault {
    std::string text;
    std::string remedy;  // where a directory above is at fault; else empty
};

// Why `user` may not use what is at `path` in these ways (R_OK, W_OK, X_OK), by owners and modes of
// it and of the directories above it; nothing when it may. Throws CannotLook.
std::optional<AccessFault> FindAccessFault(const std::string& path, const RunUser& user, int ways);

// "sentrel, 0640".
std::string OwnerAndMode(const struct stat& status);

// "12 bytes", "3.4 MB".
std::string SizeText(std::uintmax_t bytes);

// "a", "a and b", "a, b, c and 4 more".
std::string JoinNames(const std::vector<std::string>& names);

}  // namespace Ctl
