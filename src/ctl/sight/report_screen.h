// Writes a report for people.
#pragma once

#include "ctl/sight/host_view.h"

#include <chrono>
#include <iosfwd>
#include <vector>

namespace Ctl {

// Writes state, reason, age and next launch, metrics as bars against their limits, and the
// remaining members, indented.
void WriteReport(const ViewedReport& report, std::chrono::system_clock::time_point now,
                 std::ostream& output);

// Writes the metrics that differ between the stored reports, newest first; nothing if none does.
void WriteChanges(const std::vector<HistoricReport>& history, std::ostream& output);

}  // namespace Ctl
