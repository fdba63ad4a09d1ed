// Memory errors: the errors that memory controllers and processors counted and the processes that
// the kernel killed for lack of memory; a warning while one of these counts has risen within the
// last hour.
#pragma once

#include "sentrel_check/report.h"
#include "sentrel_check/settings.h"

#include <string>

namespace Checks {

// Reads /sys/devices/system/edac/mc, /proc/interrupts, /proc/vmstat and the boot's id below `root`.
// Keeps the counts of the last hour in the file at `historyPath`; if it cannot write there, or
// another user owns the file, it judges the counts since boot. `now` is in seconds since 1970.
void CheckMemoryErrors(const std::string& root, const std::string& historyPath, long long now,
                       SentrelCheck::Settings& settings, SentrelCheck::Report& report);

}  // namespace Checks
