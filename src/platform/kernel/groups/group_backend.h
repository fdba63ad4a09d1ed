// The interface of resource groups for the kernel information interface and the spawn call.
// cgroup_backend implements it with cgroup v2, embedded_backend with a table in this process;
// groups.h chooses one.
#pragma once

#include "platform/sys/owned_fd.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace Kernel {

// In kilobytes.
struct GroupMemory {
    std::uint64_t peak = 0;
    std::uint64_t childrenPeak = 0;  // the sum over the member groups
};

// Zero: no limit.
struct GroupLimits {
    unsigned memoryMB = 0;
    unsigned processes = 0;
};

struct GroupProcess {
    pid_t pid = 0;
    std::string name;  // the command name (comm)
    std::uint64_t residentKB = 0;
};

struct GroupState {
    std::int64_t id = 0;
    std::string directory;  // empty if the group has no directory
    GroupMemory memory;
    std::uint64_t reservationKB = 0;
    // Zero: no limit.
    std::uint64_t memoryLimitKB = 0;
    unsigned processLimit = 0;
    std::vector<GroupProcess> processes;  // including those of member groups
};

// Where a new process of a group starts.
struct GroupPlace {
    std::int64_t id = 0;
    // For CLONE_INTO_CGROUP; null if groups have no directories.
    std::shared_ptr<const Sys::OwnedFd> directory;
};

// A group's path is relative ("host/pax/NAME"), without empty, "." or ".." segments; any other path
// names no group. The operations on the launch path create nothing and return 0 or an error number:
// ENOENT if the group does not exist. Any thread.
class GroupBackend {
  public:
    virtual ~GroupBackend() = default;
    GroupBackend(const GroupBackend&) = delete;
    GroupBackend& operator=(const GroupBackend&) = delete;

    // The group's 64-bit id, positive and constant as long as the group exists.
    virtual int FindId(std::string_view path, std::int64_t& id) = 0;
    // The ids of the groups directly inside the group `id`, which FindId returned.
    virtual int ListMembers(std::int64_t id, std::vector<std::int64_t>& members) = 0;
    // The memory of the group `id`, which FindId returned.
    virtual int ReadMemory(std::int64_t id, GroupMemory& memory) = 0;
    // How many processes of the group the kernel has killed for lack of memory since the group was
    // created; 0 if it does not count them.
    virtual std::uint64_t CountMemoryKills(std::string_view path) = 0;
    // The directory may belong to a group that was removed after the last FindId of this path: the
    // clone then fails, and after another FindId this returns the directory of the new group.
    virtual int OpenPlace(std::string_view path, GroupPlace& place) = 0;
    // Whether OpenPlace sets a directory.
    virtual bool PlacesByDirectory() const = 0;

    // Provisioning, outside the launch path. Throws Pellmar::InvalidArgumentException for an
    // invalid path, Pellmar::NotFoundException, and Pellmar::IOException when the system refuses.

    // Creates the group and the directories above it if missing, and reserves `reservationMB` for
    // it (0 removes a reservation). Returns why nothing is reserved, in words; empty if the
    // reservation is in effect.
    virtual std::string Ensure(std::string_view path, unsigned reservationMB) = 0;
    // Sets both limits of an existing group. Returns why one of them is not in effect, in words.
    virtual std::string Limit(std::string_view path, const GroupLimits& limits) = 0;
    virtual GroupState Show(std::string_view path) = 0;

  protected:
    GroupBackend() = default;
};

// The segments of a group's path; empty for an invalid path.
std::vector<std::string> SplitGroupPath(std::string_view path);

}  // namespace Kernel
