// Why a plugin was not started, and what to do about it.
#pragma once

#include "ctl/show/failure.h"
#include "plugins/launch.h"
#include "plugins/plugin.h"

#include <sys/types.h>

namespace Ctl {

// `launch` has started nothing.
Failure ExplainFailure(const Sentrel::Plugin& plugin, const Sentrel::Launch& launch);

// The same of a user who may not execute its file.
Failure ExplainUserFailure(const Sentrel::Plugin& plugin, uid_t user, int error);

}  // namespace Ctl
