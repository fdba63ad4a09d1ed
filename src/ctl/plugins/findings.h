// What is wrong with plugins: their files, their configuration, their names, their reports.
#pragma once

#include "ctl/command/command.h"
#include "ctl/host/daemon_process.h"
#include "ctl/host/plugin_survey.h"
#include "ctl/host/run_user.h"
#include "ctl/reports/name_conflicts.h"
#include "ctl/show/finding.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Ctl {

// What plugins are judged by, read once.
struct PluginSurroundings {
    std::optional<DaemonProcess> daemon;
    // The one that plugins run as: the daemon's; without a daemon that which the report directory
    // belongs to, or this process's own.
    RunUser user;
    std::string reportDirectory;  // ends in "/"; empty: it cannot be read
    std::string reportProblem;    // then: why
    // The names of the reports there that each enabled plugin has made, by the plugin's name.
    std::map<std::string, std::vector<std::string>> reports;
    // Among the names of reports and enabled plugins.
    std::vector<NameConflict> conflicts;
    std::chrono::system_clock::time_point now;
};

// `options` may have kReportsOption; a directory that it names must be readable. Throws a
// std::exception, with what to do, when the daemon's settings are broken.
PluginSurroundings ReadSurroundings(const GivenOptions& options, const PluginSurvey& survey);

// One entry of the plugin directory, as "plugin NAME": never none, since what is good is said too.
std::vector<Finding> CheckPlugin(const SurveyedPlugin& plugin,
                                 const PluginSurroundings& surroundings);

// The plugin directory itself, and whether the reports could be looked at; then all its entries.
std::vector<Finding> CheckPlugins(const PluginSurvey& survey,
                                  const PluginSurroundings& surroundings);

// A program that is not in the plugin directory, or not yet: whether this user could run it there,
// and whether its name can be a report's.
std::vector<Finding> CheckPluginProgram(const std::string& path);

}  // namespace Ctl
