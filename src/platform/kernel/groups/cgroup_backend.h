// Implements resource groups as cgroup v2 directories below one root directory.
#pragma once

#include "platform/kernel/groups/cgroup_directory.h"
#include "platform/kernel/groups/group_backend.h"
#include "platform/sys/mutex.h"

#include <map>
#include <string>

namespace Kernel {

// A group's id is the inode number of its directory: on a 64-bit kernel that is the cgroup's own
// 64-bit id (name_to_handle_at(2) returns the same), the kernel never reuses it, and one fstat
// reads it. An unprivileged process cannot open a directory by its id, so the ids from FindId are
// kept with their paths. The directories are kept open too: opening one takes a tenth of a launch.
class CgroupBackend : public GroupBackend {
  public:
    // `root` is absolute, without a trailing slash. While it is not a directory of a cgroup v2
    // hierarchy, no groups exist.
    explicit CgroupBackend(std::string root);

    int FindId(std::string_view path, std::int64_t& id) override EXCLUDES(lock);
    int ListMembers(std::int64_t id, std::vector<std::int64_t>& members) override EXCLUDES(lock);
    int ReadMemory(std::int64_t id, GroupMemory& memory) override EXCLUDES(lock);
    std::uint64_t CountMemoryKills(std::string_view path) override;
    int OpenPlace(std::string_view path, GroupPlace& place) override EXCLUDES(lock);
    bool PlacesByDirectory() const override { return true; }

    std::string Ensure(std::string_view path, unsigned reservationMB) override;
    std::string Limit(std::string_view path, const GroupLimits& limits) override;
    GroupState Show(std::string_view path) override;

  private:
    std::string DirectoryOf(std::string_view path) const;
    int Open(std::string_view path, CgroupDirectory& group) const;
    CgroupDirectory Require(std::string_view path) const;
    bool TakeFound(std::string_view path, GroupPlace& place) EXCLUDES(lock);
    int OpenById(std::int64_t id, CgroupDirectory& group) EXCLUDES(lock);

    const std::string root;
    Sys::Mutex lock;
    std::map<std::string, GroupPlace, std::less<>> foundGroups GUARDED_BY(lock);  // by path
};

}  // namespace Kernel
