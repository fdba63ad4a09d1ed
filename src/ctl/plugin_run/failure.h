// Why a plugin was not started, and what to do about it.
#pragma once

#include "plugins/launch.h"
#include "plugins/plugin.h"

#include <string>

#include <sys/types.h>

namespace Ctl {

// In one line. `launch` has started nothing.
std::string ExplainFailure(const Sentrel::Plugin& plugin, const Sentrel::Launch& launch);

// The same of a user who may not execute its file.
std::string ExplainUserFailure(const Sentrel::Plugin& plugin, uid_t user, int error);

}  // namespace Ctl
