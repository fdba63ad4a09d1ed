// How the subjects of "doctor" look at the host: what all of them need, read once, and the files.
#pragma once

#include "ctl/host/host.h"
#include "ctl/show/failure.h"
#include "ctl/show/finding.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace Ctl {

// Adds to `host` what all subjects need: the intake's port and who holds it; the daemon, which is
// the process of the daemon's name that holds the intake port, else the port of the API; its user,
// or without one that named sentrel, or else root; and, unless --reports has named it, its report
// directory. Throws nothing for what it cannot look at.
void LookAtDaemon(Host& host);

using Findings = std::vector<Finding>;

// This user may not see what there is to look at.
class CannotLook : public Failure {
  public:
    explicit CannotLook(const std::string& happened) : Failure(happened, kAdvice) {}
    // What happened is "what: the system's text of `errorNumber`".
    CannotLook(const std::string& what, int errorNumber) : Failure(what, errorNumber, kAdvice) {}

  private:
    static constexpr const char* kAdvice = "run this as root";
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

}  // namespace Ctl
