// What the kernel information interface and the spawn call ask of resource groups. cgroup_backend
// answers from cgroup v2, embedded_backend from a table in this process; groups.h says which one.
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
    std::string name;  // as the process calls itself
    std::uint64_t residentKB = 0;
};

struct GroupState {
    std::int64_t id = 0;
    std::string directory;  // empty when no directory stands behind the group
    GroupMemory memory;
    std::uint64_t reservationKB = 0;
    // Zero: no limit.
    std::uint64_t memoryLimitKB = 0;
    unsigned processLimit = 0;
    std::vector<GroupProcess> processes;  // those of the member groups too
};

// Where a new process of a group begins.
struct GroupPlace {
    std::int64_t id = 0;
    // For CLONE_INTO_CGROUP; null when there is nothing to begin in.
    std::shared_ptr<const Sys::OwnedFd> directory;
};

// A group's path is relative ("host/pax/NAME"), without empty, "." or ".." segments; another path
// names no group. The operations on the launch path make nothing, and return 0 or an error number:
// ENOENT when there is no such group. Any thread.
class GroupBackend {
  public:
    virtual ~GroupBackend() = default;
    GroupBackend(const GroupBackend&) = delete;
    GroupBackend& operator=(const GroupBackend&) = delete;

    // The group's 64-bit id. Positive; the same as long as the group is there.
    virtual int FindId(std::string_view path, std::int64_t& id) = 0;
    // The ids of the groups directly inside a group whose id FindId gave.
    virtual int ListMembers(std::int64_t id, std::vector<std::int64_t>& members) = 0;
    // The memory of a group whose id FindId gave.
    virtual int ReadMemory(std::int64_t id, GroupMemory& memory) = 0;
    // How many processes of the group the kernel has killed for lack of memory since the group was
    // made; 0 where it does not count them.
    virtual std::uint64_t CountMemoryKills(std::string_view path) = 0;
    // The directory may be that of a group which was removed since the last FindId of this path:
    // the clone fails then, and after another FindId the place is that of its successor.
    virtual int OpenPlace(std::string_view path, GroupPlace& place) = 0;
    // Whether OpenPlace gives a directory.
    virtual bool PlacesByDirectory() const = 0;

    // Provisioning, outside the launch path. Throw Pellmar::InvalidArgumentException for a path
    // that can name no group, Pellmar::NotFoundException, and Pellmar::IOException when the system
    // refuses.

    // Makes the group and the directories above it where they are missing, and reserves
    // `reservationMB` for it (0: takes a reservation away). Returns why nothing is reserved, in
    // words; empty when the reservation stands.
    virtual std::string Ensure(std::string_view path, unsigned reservationMB) = 0;
    // Sets both limits of an existing group. Returns why one of them is not in force, in words.
    virtual std::string Limit(std::string_view path, const GroupLimits& limits) = 0;
    virtual GroupState Show(std::string_view path) = 0;
    // Removes an empty group, and the groups above it that are empty then.
    virtual void Remove(std::string_view path) = 0;

  protected:
    GroupBackend() = default;
};

// The segments of a group's path; none when the path can name no group.
std::vector<std::string> SplitGroupPath(std::string_view path);

}  // namespace Kernel
