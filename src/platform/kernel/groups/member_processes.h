// Describes the processes of a group from /proc.
#pragma once

#include "platform/kernel/groups/group_backend.h"

#include <cstdint>
#include <vector>

#include <sys/types.h>

namespace Kernel {

// Name and resident size of each process; processes that have exited are left out.
std::vector<GroupProcess> DescribeProcesses(const std::vector<pid_t>& pids);

// The sum of the resident sizes in kilobytes, without processes that have exited. One short read
// for each process.
std::uint64_t SumResidentKB(const std::vector<pid_t>& pids);

}  // namespace Kernel
