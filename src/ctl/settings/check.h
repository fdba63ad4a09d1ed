// Whether the configuration store of this host is in order: "config check", and a part of "doctor".
#pragma once

#include "ctl/show/finding.h"

#include <vector>

namespace Ctl {

// What is to be said of the store files of all known entries; one Good finding when there is
// nothing. Only looks.
std::vector<Finding> CheckConfiguration();

}  // namespace Ctl
