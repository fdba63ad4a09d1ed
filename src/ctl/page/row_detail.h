// What an opened row of the page shows of a report.
#pragma once

#include "ctl/sight/host_view.h"

#include <string>

namespace Ctl {

// Its metrics with bars, its stored reports side by side with what changed, and the rest of what it
// holds.
std::string RowDetailHtml(const ViewedReport& report);

}  // namespace Ctl
