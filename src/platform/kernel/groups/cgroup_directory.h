// Reads and writes the kernel's files in a cgroup v2 directory (cgroups(7), and "cgroup-v2" in the
// kernel's documentation). cgroup_backend decides which directory is a group, and whether it is a
// cgroup at all.
//
//   cgroup.procs            one pid a line; writing one moves the process, "0" the writer
//   cgroup.controllers      names separated by blanks: what can be enabled for the children
//   cgroup.subtree_control  what is enabled for the children; written as "+NAME"
//   memory.peak             bytes, including its children's (since Linux 5.19)
//   memory.min              bytes protected from reclaim
//   memory.max              limit in bytes; "max" without a limit
//   memory.events           lines "NAME COUNT"; oom_kill: processes killed for lack of memory
//   pids.max                limit of tasks; "max" without a limit
//   cgroup.freeze           writing 1 freezes the processes in it and in its descendants
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

// The bound on the processes whose resident sizes stand in for a missing memory.peak, so that a
// plugin that forks endlessly delays nobody. A group may contain more.
inline constexpr std::size_t kMaxCountedProcesses = 1024;

// Move-only; keeps the directory open. Operations return 0 or an error number unless they say
// otherwise. One thread at a time.
class CgroupDirectory {
  public:
    struct Child {
        std::string name;
        std::int64_t id;
    };

    // Opens the absolute `path`. Returns ENOENT also when it is not a directory.
    static int Open(const std::string& path, CgroupDirectory& opened);

    // Whether the cgroup whose directory `descriptor` is open on, or one above it, is frozen.
    static bool IsFrozen(int descriptor);

    bool IsFrozen() const { return IsFrozen(directory.Get()); }
    // Whether the directory belongs to a cgroup v2 hierarchy.
    bool IsCgroup2() const;
    // The cgroup's 64-bit id, which on a 64-bit kernel is the directory's inode number; 0 if it
    // cannot be read.
    std::int64_t Id() const;
    std::vector<Child> Children() const;
    // Reads memory.peak or, if it does not exist, the processes' resident sizes.
    GroupMemory Memory() const;
    // The processes of this cgroup and its descendants, at most kMaxCountedProcesses.
    std::vector<pid_t> Processes() const;
    // memory.min in kilobytes; 0 if it does not exist.
    std::uint64_t ReservationKB() const;

    // Whether the memory controller can be enabled for the children.
    bool OffersMemory() const;
    int EnableMemory() const;
    int Reserve(std::uint64_t bytes) const;
    // Enables the pids controller for the children.
    int EnableProcesses() const;
    // Zero removes a limit.
    int LimitMemory(std::uint64_t bytes) const;
    int LimitProcesses(unsigned count) const;
    // memory.max in kilobytes, and pids.max; 0 without a limit.
    std::uint64_t MemoryLimitKB() const;
    unsigned ProcessLimit() const;
    // How many processes the kernel has killed in this cgroup for lack of memory; 0 if it does not
    // count them.
    std::uint64_t MemoryKills() const;
    // Moves this process, with all its threads, into the cgroup.
    int MoveHere() const;
    // Freezes or thaws the processes in the cgroup and its descendants, including processes that
    // start in a frozen one. SIGKILL still kills frozen processes.
    int SetFrozen(bool frozen) const;

    // Transfers the descriptor to the caller.
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
