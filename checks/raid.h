// Disk arrays (md arrays and ZFS pools): whether each has all its disks and can be used.
#pragma once

#include "sentrel_check/report.h"
#include "sentrel_check/settings.h"

#include <string>

namespace Checks {

// Reads /sys/block and /proc/spl/kstat/zfs below `root`.
void CheckRaid(const std::string& root, SentrelCheck::Settings& settings,
               SentrelCheck::Report& report);

}  // namespace Checks
