// Chooses the backend of this process's resource groups and provisions groups, for the daemon's
// start and the operator's tool. The launch path uses kis.h and spawn.h.
#pragma once

#include "platform/kernel/groups/group_backend.h"

#include <memory>
#include <string_view>

namespace Kernel {

// Prepares the daemon's group, before the first launch and on the main thread. Chooses the backend:
// cgroups below SENTREL_CGROUP_ROOT, the daemon's own unit if it is delegated, or the cgroup v2
// mount; if none of them is writable, a table in this process. The logger "Kernel" logs the choice
// at level 5.
//
// Creates the group `path` and sets `limits` only in the process table and in a delegated unit
// (whose cgroup nobody else could provision in time; the daemon moves to its leaf "daemon" for
// that). Elsewhere the operator creates the group ("sentrelctl group ensure"); until then every
// look-up finds no group. Further level-5 lines report that nothing is reserved, or a limit is not
// in effect, because the hierarchy lacks the controllers.
//
// Never fails: problems are logged at level 3, and launches are then refused.
void PrepareGroups(std::string_view path, unsigned reservationMB, const GroupLimits& limits = {});

// The backend in use. Without PrepareGroups (in tools), the first call chooses it silently, moving
// and creating nothing. Any thread.
GroupBackend& Groups();

// Replaces the backend in use. Call it while no other thread uses this library.
void UseGroups(std::unique_ptr<GroupBackend> backend);

// Provisioning; see GroupBackend for results and exceptions.
std::string EnsureGroup(std::string_view path, unsigned reservationMB);
std::string LimitGroup(std::string_view path, const GroupLimits& limits);
GroupState ShowGroup(std::string_view path);

}  // namespace Kernel
