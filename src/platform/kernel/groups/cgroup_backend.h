// Resource groups as cgroup v2 directories below one root directory.
#pragma once

#include "platform/kernel/groups/cgroup_directory.h"
#include "platform/kernel/groups/group_backend.h"
#include "platform/sys/mutex.h"

#include <map>
#include <string>

namespace Kernel {

// The id of a group is the inode number of its directory: on a 64-bit kernel that is the cgroup's
// own 64-bit id (name_to_handle_at(2) gives the same), it is never used again, and one fstat reads
// it. The kernel finds no directory by its id without privileges, so the ids that FindId gave are
// kept with their paths, and so are the directories: opening one takes a tenth of a launch.
class CgroupBackend : public GroupBackend {
  public:
    // `root` is absolute, without a slash at its end. As long as it is no directory of a cgroup v2
    // hierarchy there are no groups.
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
    void Remove(std::string_view path) override;

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
