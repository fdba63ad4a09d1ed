// Plugins that wrap a check command: whether their link, their configuration and its command are
// all there.
#pragma once

#include "ctl/host/plugin_survey.h"
#include "ctl/show/finding.h"

#include <string>
#include <vector>

namespace Ctl {

// Below the host root: NAME.json for each of them.
inline const std::string kWrapDirectory = "/etc/korvex/sentrel/wrap/";

// None when the plugin is of another kind, or nothing is wrong with it.
std::vector<Finding> CheckWrapped(const std::string& subject, const SurveyedPlugin& plugin);

// Configurations without a plugin.
std::vector<Finding> CheckUnusedWraps(const PluginSurvey& survey);

}  // namespace Ctl
