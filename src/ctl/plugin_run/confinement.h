// What the sandbox of a plugin and the limits of the plugins' group refused during a run.
#pragma once

#include "ctl/plugin_run/result.h"

#include <string>
#include <vector>

namespace Ctl {

// The files that the sandbox kept a plugin from writing: those that its standard error says it was
// denied although the permissions let its user write there.
std::vector<std::string> FilesRefusedBySandbox(const std::string& standardError,
                                               const RunUser& user);

// Adds findings about the sandbox and the memory limit.
void JudgeConfinement(PluginRun& run);

}  // namespace Ctl
