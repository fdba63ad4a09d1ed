// What is wrong with plugins: their files, their configuration, their names, their reports.
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

// What the report directory tells of the enabled plugins, read once.
struct PluginReports {
    std::string directory;  // as in Host; empty: it cannot be read
    std::string problem;    // then: why
    // The names of the reports there that each plugin has made, by the plugin's name.
    std::map<std::string, std::vector<std::string>> names;
    // Among the names of reports and enabled plugins.
    std::vector<NameConflict> conflicts;
};

// Throws Failure when the directory cannot be read and --reports has named it.
PluginReports ReadPluginReports(const Host& host, const PluginSurvey& survey);

// The one that plugins run as: the daemon's; without a daemon that which the report directory
// belongs to, or this process's own.
RunUser FindPluginUser(const std::optional<DaemonProcess>& daemon, const PluginReports& reports);

// With the daemon, the user and the time of `host`: one entry of the plugin directory, as
// "plugin NAME": never none, since what is good is said too.
std::vector<Finding> CheckPlugin(const SurveyedPlugin& plugin, const Host& host,
                                 const PluginReports& reports);

// The plugin directory itself, and whether the reports could be looked at; then all its entries.
std::vector<Finding> CheckPlugins(const PluginSurvey& survey, const Host& host,
                                  const PluginReports& reports);

// A program that is not in the plugin directory, or not yet: whether this user could run it there,
// and whether its name can be a report's.
std::vector<Finding> CheckPluginProgram(const std::string& path);

}  // namespace Ctl
