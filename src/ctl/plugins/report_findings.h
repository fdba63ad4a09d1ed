// What the stored reports tell of a plugin: that they are wrong, or that there are none.
#pragma once

#include "ctl/host/plugin_survey.h"
#include "ctl/show/finding.h"

#include <string>
#include <vector>

namespace Ctl {

struct Host;
struct PluginReports;

// Of an enabled plugin. None when its newest reports are good, or it has had no time to report.
std::vector<Finding> CheckReports(const std::string& subject, const SurveyedPlugin& plugin,
                                  const Host& host, const PluginReports& reports);

}  // namespace Ctl
