// The kernel information interface: queries about resource groups, sent to a node with a list of
// parameters. The backend from groups.h answers them. Only this file contains the interface's own
// names.
#pragma once

#include "platform/kernel/interface/status.h"

#include <cstddef>
#include <cstdint>

// NOLINTBEGIN(readability-identifier-naming)

// The parameters of one call, or the instances that a call returned. One thread at a time.
struct KIS_ParamList;

// KIS_Set: maps the path in the list's string to the group's 64-bit id.
extern const std::uint16_t KIS_NODE_sched_groupPathNameToID;
// KIS_GetInstanceListAlloc: lists the groups directly inside the group whose id is the list's
// integer.
extern const std::uint16_t KIS_NODE_sched_groups_members_groups;
// KIS_Get: returns the memory statistics of the group whose id is the list's integer.
extern const std::uint16_t KIS_NODE_sched_groups_stats_memoryStats;

// Creates a list for `parameterCount` parameters (1 to 8). The first `instanceCount` of them
// identify an instance of the node and are integers; the rest are values, strings or integers.
// Returns null when memory is exhausted, or for invalid numbers.
KIS_ParamList* KIS_ParamListCreate(int instanceCount, int parameterCount);

// Append a copy of the parameter. Return the status for a bad parameter when the list is full or
// null, or a string is passed for an instance.
MSK_ReturnStatus KIS_ParamListAddString(KIS_ParamList* list, const char* text);
MSK_ReturnStatus KIS_ParamListAddInt(KIS_ParamList* list, std::int64_t value);

// The number of instances in a list from KIS_GetInstanceListAlloc; 0 for any other list and for
// null.
std::size_t KIS_ParamListNumInstances(const KIS_ParamList* list);

// Frees a list of either kind. Accepts null.
void KIS_ParamListDestroy(KIS_ParamList* list);

// Sends `list` to a node and receives its answer. `flags` is 0. For
// KIS_NODE_sched_groupPathNameToID, `output` has 8 bytes and receives the id as a signed integer in
// host byte order. Leaves `output` unchanged on failure.
MSK_ReturnStatus KIS_Set(std::uint16_t node, int flags, const KIS_ParamList* list, void* output,
                         std::size_t size);

// Fills `buffer`. For KIS_NODE_sched_groups_stats_memoryStats it has kMemoryStatsBytes bytes in the
// layout below. Leaves `buffer` unchanged on failure.
MSK_ReturnStatus KIS_Get(std::uint16_t node, const KIS_ParamList* list, void* buffer,
                         std::size_t size);

// Sets `*result` to a new list of instances, which the caller destroys. Leaves it unchanged on
// failure.
MSK_ReturnStatus KIS_GetInstanceListAlloc(std::uint16_t node, const KIS_ParamList* list,
                                          KIS_ParamList** result);

// Returns 0 if the running kernel has the system calls that the daemon uses: clone3 (into a cgroup
// if groups are cgroups), pidfds, close_range. Otherwise writes the running kernel's build date to
// `runningDate` (`size` bytes; kSignatureDateBytes hold the whole text) and sets `*programDate` to
// this program's, which is never freed. Both have the form "YYYY-MM-DDTHH:MM:SSZ" and only inform.
// A kernel without a date shows as "0000-00-00T00:00:00Z"; both may be empty when memory is
// exhausted.
int KIS_CheckSig(char* runningDate, std::size_t size, const char** programDate);

// NOLINTEND(readability-identifier-naming)

namespace Kernel {

inline constexpr std::size_t kSignatureDateBytes = 21;

// The statistics are zero except for two unaligned, unsigned 64-bit little-endian numbers of
// kilobytes:
//
//   309  peak of the group
//   374  sum of the peaks of its member groups
inline constexpr std::size_t kMemoryStatsBytes = 384;
inline constexpr std::size_t kPeakOffset = 309;
inline constexpr std::size_t kChildrenPeakOffset = 374;

}  // namespace Kernel
