// Checks plugins that wrap a check command: whether their link, their configuration and its command
// exist.
#pragma once

#include "ctl/host/plugin_survey.h"
#include "ctl/show/finding.h"

#include <string>
#include <vector>

namespace Ctl {

// The directory, below the host root, of their configurations NAME.json.
inline const std::string kWrapDirectory = "/etc/korvex/sentrel/wrap/";

// No findings if the plugin wraps no command, or has no problem.
std::vector<Finding> CheckWrapped(const std::string& subject, const SurveyedPlugin& plugin);

// Finds configurations without a plugin.
std::vector<Finding> CheckUnusedWraps(const PluginSurvey& survey);

}  // namespace Ctl
