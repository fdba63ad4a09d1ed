// Finds what the sandbox and the memory limit of the plugins' group refused during a run.
#pragma once

#include "ctl/plugin_run/result.h"

#include <string>
#include <vector>

namespace Ctl {

// The files that the sandbox kept a plugin from writing: its standard error says that permission
// was denied, but the permissions allow its user to write.
std::vector<std::string> FilesRefusedBySandbox(const std::string& standardError,
                                               const RunUser& user);

// Adds findings about the sandbox and the memory limit.
void JudgeConfinement(PluginRun& run);

}  // namespace Ctl
