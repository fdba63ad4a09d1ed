// Checks the configuration store of this host, for "config check" and "doctor".
#pragma once

#include "ctl/show/finding.h"

#include <string>
#include <vector>

namespace Ctl {

// The findings about the store files of all known entries; one Good finding if there are no others.
// Changes nothing.
std::vector<Finding> CheckConfiguration();

// The part of it that is said of the entry of one plugin; nothing when there is nothing. What is
// said of the whole entry has the subject "plugin NAME", of a setting "NAME.KEY".
std::vector<Finding> CheckPluginSettings(const std::string& plugin);

}  // namespace Ctl
