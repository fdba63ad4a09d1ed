#include "platform/kernel/spawn/process_table.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fcntl.h>

namespace Kernel {

ProcessTable& ProcessTable::Spawned() {
    static ProcessTable* const sSpawned = new ProcessTable;
    return *sSpawned;
}

ProcessTable::ProcessTable() { entries.reserve(kMaxTrackedProcesses + 1); }

void ProcessTable::Add(pid_t pid, Sys::PidFd process, std::int64_t groupId) {
    const Sys::MutexLock guard(lock);
    // An entry with the same number belongs to a process that has exited unnoticed.
    std::erase_if(entries, [pid](const Entry& entry) { return entry.pid == pid; });
    entries.push_back({pid, std::move(process), groupId});
    if (entries.size() > kMaxTrackedProcesses) {
        entries.erase(entries.begin());
    }
}

Sys::PidFd ProcessTable::Hold(pid_t pid) {
    const Sys::MutexLock guard(lock);
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [pid](const Entry& entry) { return entry.pid == pid; });
    return found == entries.end()
               ? Sys::PidFd()
               : Sys::PidFd(Sys::OwnedFd(::fcntl(found->process.Get(), F_DUPFD_CLOEXEC, 0)));
}

void ProcessTable::DropEnded() {
    const Sys::MutexLock guard(lock);
    DropEndedEntries();
}

int ProcessTable::Signal(pid_t pid, int signal) {
    const Sys::MutexLock guard(lock);
    DropEndedEntries();
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [pid](const Entry& entry) { return entry.pid == pid; });
    return found == entries.end() ? ESRCH : found->process.Signal(signal);
}

std::vector<pid_t> ProcessTable::MembersOf(std::int64_t groupId) {
    const Sys::MutexLock guard(lock);
    DropEndedEntries();
    std::vector<pid_t> members;
    for (const Entry& entry : entries) {
        if (entry.groupId == groupId) {
            members.push_back(entry.pid);
        }
    }
    return members;
}

void ProcessTable::DropEndedEntries() {
    std::erase_if(entries, [](const Entry& entry) { return entry.process.HasEnded(); });
}

int Kill(pid_t pid, int signal) {
    const int error = ProcessTable::Spawned().Signal(pid, signal);
    if (error == 0) {
        return 0;
    }
    errno = error;
    return -1;
}

}  // namespace Kernel
