#include "ctl/group/kill.h"

#include "ctl/show/failure.h"
#include "platform/kernel/groups/cgroup_directory.h"
#include "platform/pellmar/exceptions.h"
#include "platform/sys/pid_fd.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <set>
#include <utility>

#include <poll.h>
#include <unistd.h>

namespace Ctl {

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kMaxTargets = 256;  // at a time, since each takes a descriptor
constexpr milliseconds kPatience{5000};
constexpr milliseconds kPatienceOfOneRound{1000};

struct Target {
    Member member;
    Sys::PidFd process;
};

bool IsSame(const Member& a, const Member& b) {
    return a.process.pid == b.process.pid && a.process.uptime == b.process.uptime;
}

bool Contains(const std::vector<Member>& members, const Member& wanted) {
    return std::any_of(members.begin(), members.end(),
                       [&](const Member& member) { return IsSame(member, wanted); });
}

// Opens a pidfd for each member, then reads the group again: a member that is still there, and has
// not exited, is the process that the pidfd names.
std::vector<Target> Hold(const std::string& directory, const std::vector<Member>& wanted) {
    std::vector<Target> targets;
    for (const Member& member : wanted) {
        if (targets.size() == kMaxTargets) {
            break;
        }
        Sys::PidFd process = Sys::PidFd::Open(member.process.pid);
        if (!process.IsOpen() && errno != ESRCH) {
            throw Pellmar::IOException(
                "opening process " + std::to_string(member.process.pid) + " of the group", errno);
        }
        if (process.IsOpen()) {
            targets.push_back({member, std::move(process)});
        }
    }
    const std::vector<Member> members = ReadMembers(directory);
    std::erase_if(targets, [&](const Target& target) {
        return !Contains(members, target.member) || target.process.HasEnded();
    });
    return targets;
}

void EndEach(const std::vector<Target>& targets) {
    for (const Target& target : targets) {
        const int error = target.process.Signal(SIGKILL);
        if (error != 0 && error != ESRCH) {
            throw Failure("cannot kill process " + std::to_string(target.member.process.pid) +
                              " (" + target.member.process.name + ")",
                          error, "run this as root");
        }
    }
}

// Freezes the cgroup while this object lives, so nothing in it can fork. cgroup.kill is not an
// alternative: after a write to it some kernels (6.18 is one) kill every process that clone3 starts
// in the cgroup from outside, which is how plugins are launched. A cgroup that is already frozen,
// or cannot be frozen, stays as it is.
class ScopedFreeze {
  public:
    explicit ScopedFreeze(const std::string& directory) {
        if (Kernel::CgroupDirectory::Open(directory, group) == 0 && !group.IsFrozen()) {
            isOurs = group.SetFrozen(true) == 0;
        }
    }
    ~ScopedFreeze() {
        if (isOurs) {
            (void)group.SetFrozen(false);  // it could be frozen, so this works too
        }
    }
    ScopedFreeze(const ScopedFreeze&) = delete;
    ScopedFreeze& operator=(const ScopedFreeze&) = delete;

  private:
    Kernel::CgroupDirectory group;
    bool isOurs = false;
};

void AwaitEnds(const std::vector<Target>& targets, Clock::time_point deadline) {
    for (const Target& target : targets) {
        pollfd entry{target.process.Get(), POLLIN, 0};
        const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
        (void)::poll(&entry, 1, static_cast<int>(std::max(left, milliseconds(0)).count()));
    }
}

// Selects the members to kill, from one reading of the group to the next.
class Selection {
  public:
    explicit Selection(std::optional<milliseconds> longest) : longest(longest) {}

    bool Has(const Member& member) {
        if (!longest) {
            return true;
        }
        if (IsSurvivor(member, *longest)) {
            sessions.insert(member.process.session);
            return true;
        }
        return member.isOrphan && sessions.count(member.process.session) != 0;
    }

  private:
    const std::optional<milliseconds> longest;
    std::set<pid_t> sessions;  // of the selected members
};

// Reads the group and kills the selected members, until none is left.
class Killer {
  public:
    Killer(std::string directory, std::optional<milliseconds> longest)
        : directory(std::move(directory)), selection(longest) {
        if (!longest) {
            freeze.emplace(this->directory);
        }
    }

    KillOutcome Run() {
        const Clock::time_point end = Clock::now() + kPatience;
        std::vector<Member> wanted = FindWanted();
        for (; !wanted.empty() && Clock::now() < end && held.size() < kMaxTargets;
             wanted = FindWanted()) {
            End(Hold(directory, wanted), std::min(end, Clock::now() + kPatienceOfOneRound));
        }
        for (Target& target : held) {
            auto& list = target.process.HasEnded() ? outcome.ended : outcome.held;
            list.push_back(std::move(target.member));
        }
        outcome.isOutrun = !wanted.empty();
        return std::move(outcome);
    }

  private:
    // The selected members that were not signalled yet.
    std::vector<Member> FindWanted() {
        std::vector<Member> wanted = ReadMembers(directory);
        outcome.spared = wanted.size();
        std::erase_if(wanted, [this](const Member& member) { return !selection.Has(member); });
        outcome.spared -= wanted.size();
        std::erase_if(wanted, [this](const Member& member) {
            return std::any_of(held.begin(), held.end(), [&member](const Target& target) {
                return IsSame(target.member, member);
            });
        });
        return wanted;
    }

    void End(std::vector<Target> targets, Clock::time_point deadline) {
        EndEach(targets);
        AwaitEnds(targets, deadline);
        for (Target& target : targets) {
            if (target.process.HasEnded()) {
                outcome.ended.push_back(std::move(target.member));
            } else {
                held.push_back(std::move(target));
            }
        }
    }

    const std::string directory;
    Selection selection;
    std::optional<ScopedFreeze> freeze;
    std::vector<Target> held;  // were sent SIGKILL and have not exited
    KillOutcome outcome;
};

}  // namespace

KillOutcome KillMembers(const std::string& directory, std::optional<milliseconds> longest) {
    return Killer(directory, longest).Run();
}

}  // namespace Ctl
