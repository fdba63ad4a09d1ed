// Computes from the daemon's schedule when plugins are launched and how long they may run.
#pragma once

#include "ctl/host/plugin_survey.h"
#include "ctl/plugins/findings.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace Ctl {

// The enabled plugins, in the order of their first runs.
std::vector<const SurveyedPlugin*> InLaunchOrder(const PluginSurvey& survey);

// How long an enabled plugin can always run before SIGTERM: until the next batch of its own queue
// and, in the first round after the daemon's start, at most until the first batch of any queue.
std::chrono::seconds GuaranteedRunTime(const PluginSurvey& survey, const SurveyedPlugin& plugin);

// The first plugins of the other queues, whose batches terminate every running plugin. In later
// rounds they may come at any time, since each batch counts its period from the end of its own last
// run.
std::vector<std::string> MayBeEndedBy(const PluginSurvey& survey, const SurveyedPlugin& plugin);

// Whether the plugin's file or configuration changed after the daemon's start, when it looks for
// plugins.
bool IsNewerThan(const SurveyedPlugin& plugin, const DaemonProcess& daemon);

// Estimates the next launch: one period after the newest report, if the plugin has reported since
// the daemon started; otherwise the first or a later run in the schedule of the daemon. Nothing if
// no daemon runs, or if the plugin is newer than the daemon and has not reported since.
std::optional<std::chrono::system_clock::time_point> EstimateNextLaunch(
    const SurveyedPlugin& plugin, const Host& host, const PluginReports& reports);

}  // namespace Ctl
