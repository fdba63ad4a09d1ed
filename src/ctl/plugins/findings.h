// Checks plugins: their files, configuration, names and reports.
#pragma once

#include "ctl/host/host.h"
#include "ctl/host/plugin_survey.h"
#include "ctl/reports/name_conflicts.h"
#include "ctl/show/finding.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Ctl {

// The reports of the enabled plugins, read once from the report directory.
struct PluginReports {
    std::string directory;  // as in Host; empty if it cannot be read
    std::string problem;    // why it cannot be read
    // The names of each plugin's reports, by the plugin's name.
    std::map<std::string, std::vector<std::string>> names;
    // Conflicts among the names of reports and enabled plugins.
    std::vector<NameConflict> conflicts;
};

// Throws Failure if the directory cannot be read and --reports has named it.
PluginReports ReadPluginReports(const Host& host, const PluginSurvey& survey);

// The user that plugins run as: the daemon's; without a daemon, the owner of the report directory,
// or else this process's own.
RunUser FindPluginUser(const std::optional<DaemonProcess>& daemon, const PluginReports& reports);

// Checks one entry of the plugin directory, with the daemon, the user and the time of `host`. At
// least one finding, with the subject "plugin NAME", since good results are reported too.
std::vector<Finding> CheckPlugin(const SurveyedPlugin& plugin, const Host& host,
                                 const PluginReports& reports);

// Checks the plugin directory, whether the reports could be read, and all entries.
std::vector<Finding> CheckPlugins(const PluginSurvey& survey, const Host& host,
                                  const PluginReports& reports);

// Why the plugin is enabled or not, and how the daemon interprets a configuration that it does not
// take literally; in words for a person.
std::string WhyOf(const SurveyedPlugin& plugin);

// How to make the daemon launch a plugin that is not enabled; in words for a person.
std::string RemedyOf(const SurveyedPlugin& plugin);

// Checks a program outside the plugin directory: whether this user could run it as a plugin, and
// whether its name can be a report's.
std::vector<Finding> CheckPluginProgram(const std::string& path);

}  // namespace Ctl
