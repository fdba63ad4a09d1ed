#include "ctl/plugin_run/leftovers.h"

#include "ctl/host/process_stat.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <map>
#include <string>
#include <utility>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Ctl {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kTermPatience{1};
constexpr std::chrono::seconds kPatience{3};  // for all processes together
constexpr int kLookMilliseconds = 50;

struct Descendant {
    Sys::PidFd process;
    ProcessStat stat;
};

// Opens a pidfd for the process before reading what it is.
Descendant Hold(pid_t pid) {
    Descendant held{Sys::PidFd::Open(pid), {}};
    if (const std::optional<ProcessStat> stat = ReadProcessStat(pid)) {
        held.stat = *stat;
    }
    return held;
}

// Whether this process is an ancestor of `process`.
bool IsDescendant(const ProcessStat& process, const std::map<pid_t, ProcessStat>& all) {
    pid_t parent = process.parent;
    for (std::size_t steps = 0; steps < all.size() && parent != ::getpid(); ++steps) {
        const auto found = all.find(parent);
        if (found == all.end()) {
            return false;
        }
        parent = found->second.parent;
    }
    return parent == ::getpid();
}

std::vector<Descendant> FindDescendants() {
    const std::map<pid_t, ProcessStat> all = ReadAllProcesses();
    std::vector<Descendant> descendants;
    for (const auto& [pid, stat] : all) {
        if (!IsDescendant(stat, all)) {
            continue;
        }
        Descendant held = Hold(pid);
        // it is still the same process
        if (held.stat.pid == pid && held.stat.uptime == stat.uptime && !held.process.HasEnded()) {
            descendants.push_back(std::move(held));
        }
    }
    return descendants;
}

// Reaps exited children; false if no child is left. Orphaned descendants are children of this
// process. A reading of /proc can miss processes that fork and exit meanwhile.
bool HasChildren() {
    pid_t reaped = 0;
    do {
        reaped = ::waitpid(-1, nullptr, WNOHANG);
    } while (reaped > 0);
    return reaped == 0;
}

void Add(const Descendant& descendant, std::vector<LeftProcess>& left) {
    const bool isKnown = std::any_of(left.begin(), left.end(), [&](const LeftProcess& known) {
        return known.pid == descendant.stat.pid;
    });
    if (!isKnown) {
        left.push_back({descendant.stat.pid, descendant.stat.name, true});
    }
}

}  // namespace

std::vector<LeftProcess> EndDescendants() {
    std::vector<LeftProcess> left;
    const Clock::time_point begin = Clock::now();
    while (HasChildren()) {
        const auto elapsed = Clock::now() - begin;
        const std::vector<Descendant> descendants = FindDescendants();
        for (const Descendant& descendant : descendants) {
            Add(descendant, left);
            // fails only when it has ended
            (void)descendant.process.Signal(elapsed < kTermPatience ? SIGTERM : SIGKILL);
        }
        if (elapsed > kPatience) {
            if (left.empty()) {
                left.push_back({0, "starting others endlessly", false});
            }
            left.back().hasEnded = false;
            return left;
        }
        if (!descendants.empty()) {
            pollfd entry{descendants.front().process.Get(), POLLIN, 0};
            (void)::poll(&entry, 1, kLookMilliseconds);  // read again after this time at the latest
        }
    }
    return left;
}

}  // namespace Ctl
