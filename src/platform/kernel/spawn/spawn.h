// The host's spawn call: starts one program inside a resource group. How the child gets from here
// to the program is spawn_child's business.
#pragma once

#include "platform/kernel/interface/status.h"

#include <cstddef>
#include <cstdint>

namespace Kernel {

// What the call is to do; 21 bytes, little-endian, without padding. Only the values that stand here
// are defined, another one is refused with EINVAL.
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
    MSK_ReturnStatus status =
        kStatusSuccess;  // 0 when the process was created and runs the program
    int error = 0;       // 0, or the negated error number
};

// The argument that names the resource group, "++group=NAME,mem=MB". NAME is a group directly below
// kPluginGroups. MB is what the caller thinks is reserved for the group; the reservation is made
// with the group, so the number is checked to be one and otherwise left alone.
// When memory runs out, the kernel chooses a spawned program before the daemon.
inline constexpr int kOomScoreAdjust = 500;

inline constexpr const char* kPluginGroups = "host/pax/kolbern/";

enum class Confinement {
    None,    // that of the caller alone
    Sandbox  // that of sandbox.h, too
};

// System call 2049 of the host, with its six arguments, and how to confine the program. Executes
// `path` (absolute, below the host root) with exactly `argv`, in the group that the first
// "++group=" argument names, from its first instruction on. `environment` holds nothing but the
// terminating null; `reserved` is -1; `descriptors` are 0, 1 and 2, as many as the record says. For
// what else the program finds, see CloneChild.
//
// Returns when the program has been executed, or with the error number that kept it from that:
//   EINVAL, EFAULT   an argument that is not as above, or no "++group=" argument
//   ESRCH            no such group
//   EBUSY            the group is frozen
//   ETIMEDOUT        it was not executed within kLaunchPatience
//   the others       those of clone3(2) and execve(2)
// The program's oom_score_adj is kOomScoreAdjust at least, from shortly after it has been executed.
//
// On success the process id has been stored through the record, and Kill knows the process; on
// failure nothing is stored and no process is left. Any thread.
SpawnResult Spawn(const char* path, char* const argv[], char* const environment[],
                  std::int32_t reserved, const std::int32_t descriptors[],
                  const SpawnRecord* record, Confinement confinement = Confinement::None);

}  // namespace Kernel
