// What the subjects of "doctor" share: facts about the host, read once, and checks of files.
#pragma once

#include "ctl/host/host.h"
#include "ctl/show/failure.h"
#include "ctl/show/finding.h"

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace Ctl {

// Fills `host` with what all subjects need: the intake's port and its holder; the daemon, a process
// with its name on the intake port, or else on the API's; its user, or without a visible daemon
// root, if root's program holds the port, else the user sentrel, or else root; and its report
// directory, unless --reports names one. Leaves facts unset that it cannot inspect.
void InspectDaemon(Host& host);

using Findings = std::vector<Finding>;

// This user lacks the permission to inspect something.
class CannotInspect : public Failure {
  public:
    explicit CannotInspect(const std::string& happened) : Failure(happened, kAdvice) {}
    // The text is "what: the system's text of `errorNumber`".
    CannotInspect(const std::string& what, int errorNumber) : Failure(what, errorNumber, kAdvice) {}

  private:
    static constexpr const char* kAdvice = "run this as root";
};

// The status of `path`, following links; nothing if it is missing or a dangling link. Throws
// CannotInspect.
std::optional<struct stat> StatOf(const std::string& path);

struct AccessFault {
    std::string text;
    std::string remedy;  // if a directory above is at fault; else empty
};

// Why `user` may not access `path` in these ways (R_OK, W_OK, X_OK), by owners and modes of it and
// of the directories above it; nothing if it may. Throws CannotInspect.
std::optional<AccessFault> FindAccessFault(const std::string& path, const RunUser& user, int ways);

// The store files in these directories, such as "oru/health", that changed after the daemon read
// them, and the directory itself if a file was removed; empty without a daemon.
std::vector<std::string> StoreFilesNewerThanDaemon(const Host& host,
                                                   std::initializer_list<const char*> folders);

// "sentrel, 0640".
std::string OwnerAndMode(const struct stat& status);

}  // namespace Ctl
