// Checks the stored reports of a plugin: invalid or missing ones.
#pragma once

#include "ctl/host/plugin_survey.h"
#include "ctl/show/finding.h"

#include <string>
#include <vector>

namespace Ctl {

struct Host;
struct PluginReports;

// The findings about an enabled plugin; none if its newest reports are valid, or if it has not had
// time to report.
std::vector<Finding> CheckReports(const std::string& subject, const SurveyedPlugin& plugin,
                                  const Host& host, const PluginReports& reports);

}  // namespace Ctl
