// The user that plugins run as: the daemon's, not the caller's.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace Ctl {

struct RunUser {
    uid_t user = 0;
    gid_t group = 0;
    std::vector<gid_t> groups;  // supplementary groups
};

// The user of the process; nothing if /proc does not show it.
std::optional<RunUser> UserOf(pid_t process);

// Permanently changes this process, which runs as root, to that user. Until it executes a program
// it keeps its access to other users' files, because the plugins' cgroup may belong to one. Returns
// false, with errno set, if the system refuses.
bool Become(const RunUser& user);

// The name of a user, or the number if it has no name.
std::string NameOfUser(uid_t user);

}  // namespace Ctl
