// One cgroup v2 directory: the files that the kernel keeps in it (cgroups(7), "cgroup-v2" of the
// kernel's documentation). Which directory is a group, and whether it is a cgroup at all, is
// cgroup_backend's business.
//
//   cgroup.procs            one pid a line; writing one moves the process, "0" the writer
//   cgroup.controllers      names with blanks between: what may be enabled for the children
//   cgroup.subtree_control  what is enabled for them; written as "+NAME"
//   memory.peak             bytes, its children's included (since Linux 5.19)
//   memory.min              bytes that reclaim leaves alone
//   memory.max              bytes that it may use; "max" without a limit
//   memory.events           lines "NAME COUNT"; oom_kill: processes killed for lack of memory
//   pids.max                tasks that it may hold; "max" without a limit
//   cgroup.freeze           1: the processes in it, and in the cgroups in it, stand still
//   cgroup.kill             writing 1 kills all of them at once (since Linux 5.14)
#pragma once

#include "platform/kernel/groups/group_backend.h"
#include "platform/sys/owned_fd.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace Kernel {

// A group may hold any number of processes. No more than these are looked at when their resident
// sizes stand in for a missing memory.peak, so that a plugin that forks without end delays nobody.
inline constexpr std::size_t kMaxCountedProcesses = 1024;

// Move-only; holds the directory open. Operations return 0 or an error number unless they say
// otherwise. One thread at a time.
class CgroupDirectory {
  public:
    struct Child {
        std::string name;
        std::int64_t id;
    };

    // Opens `path`, absolute. ENOENT also stands for what is no directory.
    static int Open(const std::string& path, CgroupDirectory& opened);

    // Whether no process runs in the cgroup whose directory `descriptor` is open on, since it or
    // one above it is frozen.
    static bool IsFrozen(int descriptor);

    // Whether no process runs in this one, as the static one tells.
    bool IsFrozen() const { return IsFrozen(directory.Get()); }
    // Whether it lies in a cgroup v2 hierarchy.
    bool IsCgroup2() const;
    // The cgroup's 64-bit id, which is the directory's inode number on a 64-bit kernel; 0 when it
    // cannot be read.
    std::int64_t Id() const;
    std::vector<Child> Children() const;
    // memory.peak, or the processes' resident sizes where there is none.
    GroupMemory Memory() const;
    // Of the directory and of those inside it, kMaxCountedProcesses at most.
    std::vector<pid_t> Processes() const;
    // memory.min in kilobytes; 0 where there is none.
    std::uint64_t ReservationKB() const;

    // Whether `memory` may be enabled for the children.
    bool OffersMemory() const;
    int EnableMemory() const;
    int Reserve(std::uint64_t bytes) const;
    // Lets `pids` limit the children.
    int EnableProcesses() const;
    // Zero lifts a limit.
    int LimitMemory(std::uint64_t bytes) const;
    int LimitProcesses(unsigned count) const;
    // memory.max in kilobytes, and pids.max; 0 without a limit.
    std::uint64_t MemoryLimitKB() const;
    unsigned ProcessLimit() const;
    // How many processes the kernel has killed here for lack of memory; 0 where it does not count.
    std::uint64_t MemoryKills() const;
    // Moves this process here, all its threads.
    int MoveHere() const;
    // Lets the processes here and in the cgroups in it stand still, which SIGKILL ends
    // nevertheless, or go on. What begins here stands still too.
    int SetFrozen(bool frozen) const;

    // Gives the descriptor up to the caller.
    Sys::OwnedFd TakeDescriptor() { return std::move(directory); }

  private:
    static int OpenAt(int base, const char* path, CgroupDirectory& opened);
    int OpenChild(const std::string& name, CgroupDirectory& opened) const;
    std::uint64_t PeakKB() const;
    void AddProcesses(int depth, std::vector<pid_t>& pids) const;
    void AddOwnProcesses(std::vector<pid_t>& pids) const;
    std::string Read(const char* name) const;
    int Write(const char* name, std::string_view text) const;

    Sys::OwnedFd directory;
};

}  // namespace Kernel
