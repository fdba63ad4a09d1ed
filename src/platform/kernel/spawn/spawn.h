// The host's spawn call: starts one program in a resource group. spawn_child implements the steps
// in the child.
#pragma once

#include "platform/kernel/interface/status.h"

#include <cstddef>
#include <cstdint>

namespace Kernel {

// The parameters of the call: 21 bytes, little-endian, without padding. Only the values below are
// defined; others are refused with EINVAL.
//
//    0  signed 32-bit     3   entries of the descriptor table
//    4  signed 32-bit    -1   working directory: the root directory
//    8  signed 32-bit    -1   user: the caller's
//   12  unsigned 8-bit    1   session: a new one
//   13  unsigned 64-bit       address of the signed 32-bit variable that receives the process id
struct [[gnu::packed]] SpawnRecord {
    std::int32_t descriptorCount = 3;
    std::int32_t workingDirectory = -1;
    std::int32_t user = -1;
    std::uint8_t newSession = 1;
    std::uint64_t pidAddress = 0;
};
inline constexpr std::size_t kSpawnRecordBytes = 21;
static_assert(sizeof(SpawnRecord) == kSpawnRecordBytes);

struct SpawnResult {
    MSK_ReturnStatus status = kStatusSuccess;  // 0 once the program runs
    int error = 0;                             // 0, or the negated error number
};

// The oom_score_adj of spawned programs: when memory runs out, the kernel kills them before the
// daemon.
inline constexpr int kOomScoreAdjust = 500;

// The argument that names the resource group is "++group=NAME,mem=MB". NAME is a group directly
// below this path. MB is the reservation that the caller expects; the reservation is made with the
// group, so the number is only checked for its syntax.
inline constexpr const char* kPluginGroups = "host/pax/kolbern/";

enum class Confinement {
    None,    // only the caller's own
    Sandbox  // sandbox.h in addition
};

// System call 2049 of the host with its six arguments, plus the program's confinement. Executes
// `path` (absolute, below the host root) with exactly `argv`; the program runs in the group that
// the first "++group=" argument names from its first instruction on. `environment` contains only
// the terminating null; `reserved` is -1; `descriptors` are 0, 1 and 2, as many as the record says.
// See CloneChild for the program's other attributes.
//
// Returns once the program has been executed, or with the error number of the failure:
//   EINVAL, EFAULT   an argument other than described above, or no "++group=" argument
//   ESRCH            no such group
//   EBUSY            the group is frozen
//   ETIMEDOUT        not executed within kLaunchPatience
//   others           from clone3(2) and execve(2)
// Shortly after the exec, the program's oom_score_adj is at least kOomScoreAdjust.
//
// On success the process id is stored through the record and Kill knows the process; on failure
// nothing is stored and no process remains. Any thread.
SpawnResult Spawn(const char* path, char* const argv[], char* const environment[],
                  std::int32_t reserved, const std::int32_t descriptors[],
                  const SpawnRecord* record, Confinement confinement = Confinement::None);

}  // namespace Kernel
