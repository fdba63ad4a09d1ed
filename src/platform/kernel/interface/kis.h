// The kernel information interface: questions about resource groups, asked of a node with a list of
// parameters. What stands behind the nodes is the backend that groups.h chooses. The interface's
// own names stand in this file only.
#pragma once

#include "platform/kernel/interface/status.h"

#include <cstddef>
#include <cstdint>

// NOLINTBEGIN(readability-identifier-naming)

// The parameters of one call, or the instances that a call has listed. One thread at a time.
struct KIS_ParamList;

// KIS_Set: the 64-bit id of the group whose path is the list's string.
extern const std::uint16_t KIS_NODE_sched_groupPathNameToID;
// KIS_GetInstanceListAlloc: the groups directly inside the group whose id is the list's integer.
extern const std::uint16_t KIS_NODE_sched_groups_members_groups;
// KIS_Get: the memory statistics of the group whose id is the list's integer.
extern const std::uint16_t KIS_NODE_sched_groups_stats_memoryStats;

// A new list for `parameterCount` parameters (1 to 8), the first `instanceCount` of which name an
// instance of the node and are integers; the rest are values, strings or integers. Null when memory
// is out, or for numbers that fit no list.
KIS_ParamList* KIS_ParamListCreate(int instanceCount, int parameterCount);

// Append a copy of the parameter. Bad parameter when the list is full or null, or an instance would
// be named by a string.
MSK_ReturnStatus KIS_ParamListAddString(KIS_ParamList* list, const char* text);
MSK_ReturnStatus KIS_ParamListAddInt(KIS_ParamList* list, std::int64_t value);

// How many instances a list from KIS_GetInstanceListAlloc holds; 0 for another one and for null.
std::size_t KIS_ParamListNumInstances(const KIS_ParamList* list);

// Frees a list of either kind. Null is allowed.
void KIS_ParamListDestroy(KIS_ParamList* list);

// Sends `list` to a node and takes its answer. `flags` is 0. With KIS_NODE_sched_groupPathNameToID
// `output` has 8 bytes and gets the id, as a signed integer of this machine; untouched on failure.
MSK_ReturnStatus KIS_Set(std::uint16_t node, int flags, const KIS_ParamList* list, void* output,
                         std::size_t size);

// Fills `buffer`. With KIS_NODE_sched_groups_stats_memoryStats it has kMemoryStatsBytes bytes, laid
// out as below; untouched on failure.
MSK_ReturnStatus KIS_Get(std::uint16_t node, const KIS_ParamList* list, void* buffer,
                         std::size_t size);

// Makes `*result` a new list of instances, which the caller destroys; untouched on failure.
MSK_ReturnStatus KIS_GetInstanceListAlloc(std::uint16_t node, const KIS_ParamList* list,
                                          KIS_ParamList** result);

// 0 when the running kernel offers what is used of it: clone3 (into a cgroup, where groups are
// cgroups), pidfds, close_range. Otherwise writes the running kernel's build date to `runningDate`
// (`size` bytes, kSignatureDateBytes for the whole text) and this program's to `*programDate`, a
// text that is never freed. Both are "YYYY-MM-DDTHH:MM:SSZ"; they only inform, nothing is decided
// by them. A kernel that tells no date has "0000-00-00T00:00:00Z"; where memory is out they may be
// empty.
int KIS_CheckSig(char* runningDate, std::size_t size, const char** programDate);

// NOLINTEND(readability-identifier-naming)

namespace Kernel {

inline constexpr std::size_t kSignatureDateBytes = 21;

// The statistics are zero but for two unsigned 64-bit little-endian numbers of kilobytes, which are
// not aligned:
//
//   309  peak of the group
//   374  sum of the peaks of its member groups
inline constexpr std::size_t kMemoryStatsBytes = 384;
inline constexpr std::size_t kPeakOffset = 309;
inline constexpr std::size_t kChildrenPeakOffset = 374;

}  // namespace Kernel
