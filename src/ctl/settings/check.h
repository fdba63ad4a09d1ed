// Checks the configuration store of this host, for "config check" and "doctor".
#pragma once

#include "ctl/show/finding.h"

#include <string>
#include <vector>

namespace Ctl {

// The findings about the store files of all known entries; one Good finding if there are no others.
// Changes nothing.
std::vector<Finding> CheckConfiguration();

// The findings about the entry of one plugin, if any. Findings about the whole entry have the
// subject "plugin NAME", those about one setting "NAME.KEY".
std::vector<Finding> CheckPluginSettings(const std::string& plugin);

}  // namespace Ctl
