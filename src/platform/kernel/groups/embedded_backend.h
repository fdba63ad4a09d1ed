// Implements resource groups for a daemon without a writable cgroup v2 hierarchy: names in this
// process, whose members are the processes that the spawn call started in them. Nothing is limited
// or reserved.
#pragma once

#include "platform/kernel/groups/group_backend.h"
#include "platform/kernel/spawn/process_table.h"
#include "platform/sys/mutex.h"

#include <map>
#include <string>

namespace Kernel {

// Groups exist only as long as this object, and contain no other groups. A process that a plugin
// starts does not count as a member.
class EmbeddedBackend : public GroupBackend {
  public:
    // `processes` outlives the backend.
    explicit EmbeddedBackend(ProcessTable& processes);

    int FindId(std::string_view path, std::int64_t& id) override EXCLUDES(lock);
    int ListMembers(std::int64_t id, std::vector<std::int64_t>& members) override EXCLUDES(lock);
    // Sums up the resident sizes of the members.
    int ReadMemory(std::int64_t id, GroupMemory& memory) override EXCLUDES(lock);
    std::uint64_t CountMemoryKills(std::string_view) override { return 0; }
    int OpenPlace(std::string_view path, GroupPlace& place) override EXCLUDES(lock);
    bool PlacesByDirectory() const override { return false; }

    std::string Ensure(std::string_view path, unsigned reservationMB) override EXCLUDES(lock);
    std::string Limit(std::string_view path, const GroupLimits& limits) override;
    GroupState Show(std::string_view path) override EXCLUDES(lock);

  private:
    bool Knows(std::int64_t id) EXCLUDES(lock);

    ProcessTable& processes;
    Sys::Mutex lock;
    std::map<std::string, std::int64_t, std::less<>> ids GUARDED_BY(lock);  // by path
    std::int64_t lastId GUARDED_BY(lock) = 0;
};

}  // namespace Kernel
