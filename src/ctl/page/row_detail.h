// The details of a report in an opened row of the page.
#pragma once

#include "ctl/sight/host_view.h"

#include <string>

namespace Ctl {

// The report's metrics with bars, its stored reports side by side with their changes, and its
// remaining members.
std::string RowDetailHtml(const ViewedReport& report);

}  // namespace Ctl
