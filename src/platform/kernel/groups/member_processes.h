// What /proc tells about the processes of a group.
#pragma once

#include "platform/kernel/groups/group_backend.h"

#include <cstdint>
#include <vector>

#include <sys/types.h>

namespace Kernel {

// Name and resident size of each process; those that have ended are left out.
std::vector<GroupProcess> DescribeProcesses(const std::vector<pid_t>& pids);

// The sum of the resident sizes in kilobytes; ended processes count 0. One short read a process.
std::uint64_t SumResidentKB(const std::vector<pid_t>& pids);

}  // namespace Kernel
