// Explains why a plugin was not started, and what to do.
#pragma once

#include "ctl/show/failure.h"
#include "plugins/launch.h"
#include "plugins/plugin.h"

#include <sys/types.h>

namespace Ctl {

// Explains a `launch` that has started nothing.
Failure ExplainFailure(const Sentrel::Plugin& plugin, const Sentrel::Launch& launch);

// Explains the failure of a user who may not execute the plugin's file.
Failure ExplainUserFailure(const Sentrel::Plugin& plugin, uid_t user, int error);

}  // namespace Ctl
