// Which backend holds this process's resource groups, and the groups' provisioning: what the daemon
// does at its start, and what the operator's tool offers. The launch path uses kis.h and spawn.h.
#pragma once

#include "platform/kernel/groups/group_backend.h"

#include <memory>
#include <string_view>

namespace Kernel {

// For the daemon's start, before the first launch and on the main thread. Chooses the backend:
// cgroups below SENTREL_CGROUP_ROOT, the daemon's own unit when that is delegated, or the cgroup v2
// mount; where none of them can be written, a table in this process. One level-5 line of the logger
// "Kernel" says which.
//
// The group `path` is made here in a delegated unit only (whose cgroup no one else could provision
// in time; the daemon moves to its leaf "daemon" for that) and in the process table. Elsewhere the
// operator makes it ("sentrelctl group ensure"); until then every look-up finds no group. Whoever
// makes it also sets `limits`. Further level-5 lines say that nothing is reserved, or that a limit
// is not in force, where the hierarchy lacks the controllers.
//
// Never fails: what goes wrong is a level-3 line, and launches are refused then.
void PrepareGroups(std::string_view path, unsigned reservationMB, const GroupLimits& limits = {});

// The backend in use. Without PrepareGroups (in tools) it is chosen at the first call, silently,
// moving and making nothing. Any thread.
GroupBackend& Groups();

// Puts another backend in place of the one in use. While no other thread is in this library.
void UseGroups(std::unique_ptr<GroupBackend> backend);

// Provisioning; for the results and what is thrown see GroupBackend.
std::string EnsureGroup(std::string_view path, unsigned reservationMB);
std::string LimitGroup(std::string_view path, const GroupLimits& limits);
GroupState ShowGroup(std::string_view path);
void RemoveGroup(std::string_view path);

}  // namespace Kernel
