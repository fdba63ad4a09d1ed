// The user that plugins run as: the daemon's, whoever runs the tool.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace Ctl {

struct RunUser {
    uid_t user = 0;
    gid_t group = 0;
    std::vector<gid_t> groups;  // the supplementary ones
};

// That of the process; nothing when /proc does not tell it.
std::optional<RunUser> UserOf(pid_t process);

// Makes this process, which is root's, one of that user for good. What it keeps until it executes
// a program is the right to use files of others, since the cgroup of its plugins may be one. False,
// with errno set, when the system refuses.
bool Become(const RunUser& user);

// The name of a user, or the number when it has none.
std::string NameOfUser(uid_t user);

}  // namespace Ctl
