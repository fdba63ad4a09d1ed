// The processes that the spawn call started, each held by a pidfd, so that a signal to a number
// that the kernel has given to somebody else in the meantime reaches nobody.
#pragma once

#include "platform/sys/mutex.h"
#include "platform/sys/pid_fd.h"

#include <cstddef>
#include <cstdint>
#include <vector>

#include <sys/types.h>

namespace Kernel {

// Beyond this many processes that have not ended the oldest is forgotten (not signalled), so that
// processes which never end cannot use up the daemon's descriptors.
inline constexpr std::size_t kMaxTrackedProcesses = 256;

// Any thread.
class ProcessTable {
  public:
    // The table of the spawn call and of Kill. Never destroyed.
    static ProcessTable& Spawned();

    ProcessTable();

    // Keeps a process of the group with that id (see GroupBackend). Never fails: the room is there.
    void Add(pid_t pid, Sys::PidFd process, std::int64_t groupId) EXCLUDES(lock);
    // A process of the table, for whoever waits for its end; empty when it is not there (any more)
    // or the system refuses another descriptor.
    Sys::PidFd Hold(pid_t pid) EXCLUDES(lock);
    // Drops the processes that have ended.
    void DropEnded() EXCLUDES(lock);
    // Drops the ended ones, then signals `pid`. Returns 0 or the error number of kill(2); a pid
    // that is not in the table, 0 and negative ones too, gives ESRCH.
    int Signal(pid_t pid, int signal) EXCLUDES(lock);
    // The processes of one group that have not ended, oldest first.
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

// kill(2) for processes that the spawn call started: 0, or -1 with errno set. ESRCH once the
// process is gone, and for every pid that the spawn call did not give; another process that has got
// the number since is never signalled. Signal 0 tests only. Any thread.
int Kill(pid_t pid, int signal);

}  // namespace Kernel
