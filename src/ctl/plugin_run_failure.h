// Why a plugin was not started, and what to do about it.
#pragma once

#include "plugins/launch.h"
#include "plugins/plugin.h"

#include <string>

namespace Ctl {

// In one line. `launch` has started nothing.
std::string ExplainFailure(const Sentrel::Plugin& plugin, const Sentrel::Launch& launch);

}  // namespace Ctl
