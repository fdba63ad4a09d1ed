// Checks the configuration store of this host, for "config check" and "doctor".
#pragma once

#include "ctl/show/finding.h"

#include <vector>

namespace Ctl {

// The findings about the store files of all known entries; one Good finding if there are no others.
// Changes nothing.
std::vector<Finding> CheckConfiguration();

}  // namespace Ctl
