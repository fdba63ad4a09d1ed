#include "platform/kernel/spawn/spawn.h"

#include "platform/kernel/groups/groups.h"
#include "platform/kernel/spawn/process_table.h"
#include "platform/kernel/spawn/sandbox.h"
#include "platform/kernel/spawn/spawn_child.h"
#include "platform/sys/host_root.h"
#include "platform/sys/pid_fd.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Kernel {

namespace {

constexpr std::string_view kGroupArgument = "++group=";
constexpr std::string_view kMemoryArgument = ",mem=";

bool IsDecimal(std::string_view text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// The path of the group that `argv` names; empty if it names none.
std::string FindGroupPath(char* const argv[]) {
    for (; *argv != nullptr; ++argv) {
        std::string_view text = *argv;
        if (!text.starts_with(kGroupArgument)) {
            continue;
        }
        text.remove_prefix(kGroupArgument.size());
        const std::size_t comma = text.find(kMemoryArgument);
        if (comma == 0 || comma == std::string_view::npos ||
            !IsDecimal(text.substr(comma + kMemoryArgument.size()))) {
            return "";
        }
        const std::string_view name = text.substr(0, comma);
        return name.find('/') == std::string_view::npos ? kPluginGroups + std::string(name) : "";
    }
    return "";
}

int CheckArguments(const char* path, char* const argv[], char* const environment[],
                   std::int32_t reserved, const std::int32_t descriptors[],
                   const SpawnRecord* record) {
    if (path == nullptr || argv == nullptr || environment == nullptr || descriptors == nullptr ||
        record == nullptr || record->pidAddress == 0) {
        return EFAULT;
    }
    const SpawnRecord expected{.pidAddress = record->pidAddress};
    if (std::memcmp(record, &expected, sizeof(expected)) != 0 || *path != '/' ||
        argv[0] == nullptr || environment[0] != nullptr || reserved != -1) {
        return EINVAL;
    }
    for (std::int32_t index = 0; index < expected.descriptorCount; ++index) {
        if (descriptors[index] != index) {
            return EINVAL;
        }
    }
    return 0;
}

// Reaps a child that failed to execute its program. Fails, harmlessly, if SIGCHLD is ignored.
void Reap(const Sys::PidFd& process) {
    siginfo_t ended{};
    (void)::waitid(P_PIDFD, static_cast<id_t>(process.Get()), &ended, WEXITED);
}

// The errors of clone3 for a removed group: ENOENT when the kernel finds out from the descriptor,
// ENODEV when the group is removed during the call.
bool IsGone(long result) { return result == -ENOENT || result == -ENODEV; }

// Like CloneChild, in the group at that path, which may have been removed and recreated since the
// look-up of its directory.
long CloneIntoGroup(const std::string& groupPath, ChildPlan& plan, Sys::PidFd& process,
                    std::int64_t& groupId) {
    GroupPlace place;
    const auto clone = [&] {
        if (const int error = Groups().OpenPlace(groupPath, place); error != 0) {
            return -static_cast<long>(error);
        }
        groupId = place.id;
        return CloneChild(plan, place.directory ? place.directory->Get() : -1, process);
    };
    const long result = clone();
    if (!IsGone(result)) {
        return result;
    }
    const int error = Groups().FindId(groupPath, groupId);
    return error == 0 ? clone() : -error;
}

// Runs after the exec, since before it the score would be the daemon's, whose memory the child
// shares. On failure the process keeps the daemon's score.
void RaiseOomScore(pid_t pid, const Sys::PidFd& process) {
    const std::string path = "/proc/" + std::to_string(pid) + "/oom_score_adj";
    const Sys::OwnedFd file(::open(path.c_str(), O_RDWR | O_CLOEXEC));
    std::array<char, 16> text{};
    if (process.HasEnded() || ::read(file.Get(), text.data(), text.size() - 1) <= 0 ||
        std::atoi(text.data()) >= kOomScoreAdjust) {
        return;  // the number may belong to another process, or the score is already higher
    }
    const std::string score = std::to_string(kOomScoreAdjust);
    (void)!::pwrite(file.Get(), score.data(), score.size(), 0);
}

// Returns 0 and sets `pid`, or returns an error number.
int Start(const std::string& groupPath, ChildPlan& plan, pid_t& pid) {
    ProcessTable::Spawned().DropEnded();
    Sys::PidFd process;
    std::int64_t groupId = 0;
    const long result = CloneIntoGroup(groupPath, plan, process, groupId);
    if (result < 0) {
        return IsGone(result) ? ESRCH : static_cast<int>(-result);
    }
    if (plan.error != 0) {
        if (process.IsOpen()) {
            Reap(process);
        }
        return plan.error;
    }
    pid = static_cast<pid_t>(result);
    RaiseOomScore(pid, process);
    ProcessTable::Spawned().Add(pid, std::move(process), groupId);
    return 0;
}

SpawnResult Failed(int error) { return {StatusOfError(error), -error}; }

}  // namespace

SpawnResult Spawn(const char* path, char* const argv[], char* const environment[],
                  std::int32_t reserved, const std::int32_t descriptors[],
                  const SpawnRecord* record, Confinement confinement) {
    if (const int error = CheckArguments(path, argv, environment, reserved, descriptors, record);
        error != 0) {
        return Failed(error);
    }
    try {
        const std::string groupPath = FindGroupPath(argv);
        if (groupPath.empty()) {
            return Failed(EINVAL);
        }
        const std::string hostPath = Sys::HostPath(path);
        ChildPlan plan{.path = hostPath.c_str(), .argv = argv, .environment = environment};
        Sys::OwnedFd ruleset;
        if (confinement == Confinement::Sandbox) {
            if (const int error = CreateSandboxRuleset(ruleset); error != 0) {
                return Failed(error);
            }
            plan.isSandboxed = true;
            plan.ruleset = ruleset.Get();
        }
        pid_t pid = 0;
        if (const int error = Start(groupPath, plan, pid); error != 0) {
            return Failed(error);
        }
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the record's format contains an address
        std::memcpy(reinterpret_cast<void*>(record->pidAddress), &pid, sizeof(pid));
        return {};
    } catch (const std::bad_alloc&) {
        return Failed(ENOMEM);
    }
}

}  // namespace Kernel
