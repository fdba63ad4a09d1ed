// Keeps a pidfd for each process that the spawn call started, so that a signal never reaches
// another process to which the kernel has given the number since.
#pragma once

#include "platform/sys/mutex.h"
#include "platform/sys/pid_fd.h"

#include <cstddef>
#include <cstdint>
#include <vector>

#include <sys/types.h>

namespace Kernel {

// The bound on running processes in the table. Beyond it the oldest is forgotten (not signalled),
// so that processes that never exit cannot exhaust the daemon's descriptors.
inline constexpr std::size_t kMaxTrackedProcesses = 256;

// Any thread.
class ProcessTable {
  public:
    // The table that the spawn call and Kill use. Never destroyed.
    static ProcessTable& Spawned();

    ProcessTable();

    // Adds a process of the group `groupId` (see GroupBackend). Never fails, since the memory is
    // reserved.
    void Add(pid_t pid, Sys::PidFd process, std::int64_t groupId) EXCLUDES(lock);
    // A descriptor of the process, for waiting for its exit; empty if the table does not contain it
    // or the system refuses another descriptor.
    Sys::PidFd Hold(pid_t pid) EXCLUDES(lock);
    // Removes the processes that have exited.
    void DropEnded() EXCLUDES(lock);
    // Removes the processes that have exited, then signals `pid`. Returns 0 or the error number of
    // kill(2); ESRCH for a pid that is not in the table, including 0 and negative ones.
    int Signal(pid_t pid, int signal) EXCLUDES(lock);
    // The running processes of one group, oldest first.
    std::vector<pid_t> MembersOf(std::int64_t groupId) EXCLUDES(lock);

  private:
    struct Entry {
        pid_t pid;
        Sys::PidFd process;
        std::int64_t groupId;
    };

    void DropEndedEntries() REQUIRES(lock);

    Sys::Mutex lock;
    std::vector<Entry> entries GUARDED_BY(lock);  // oldest first
};

// kill(2) for processes that the spawn call started: returns 0, or -1 with errno set. ESRCH once
// the process is gone, and for any other pid; never signals another process that got the number
// since. Signal 0 only tests. Any thread.
int Kill(pid_t pid, int signal);

}  // namespace Kernel
