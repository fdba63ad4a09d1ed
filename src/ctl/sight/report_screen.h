// One report as a person reads it.
#pragma once

#include "ctl/sight/host_view.h"

#include <chrono>
#include <iosfwd>
#include <vector>

namespace Ctl {

// Its state and reason, its age and when the next is due, its metrics as bars against their limits,
// and what else it holds, indented.
void WriteReport(const ViewedReport& report, std::chrono::system_clock::time_point now,
                 std::ostream& output);

// Which metrics differ between the stored reports, newest first; nothing when none does.
void WriteChanges(const std::vector<HistoricReport>& history, std::ostream& output);

}  // namespace Ctl
