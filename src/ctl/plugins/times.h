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

// How long an enabled plugin may run before it is sent SIGTERM: in any round until the next batch
// of its own queue, and in the first round after the daemon's start until the first batch of any
// queue.
std::chrono::seconds GuaranteedRunTime(const PluginSurvey& survey, const SurveyedPlugin& plugin);

// The first plugins of the other queues, whose batches terminate every running plugin. In later
// rounds they may come at any time, since each batch counts its period from the end of its own last
// run.
std::vector<std::string> MayBeEndedBy(const PluginSurvey& survey, const SurveyedPlugin& plugin);

// Whether the plugin's file or configuration changed after the daemon's start, when it looks for
// plugins.
bool IsNewerThan(const SurveyedPlugin& plugin, const DaemonProcess& daemon);

// Estimates the next launch: one period after the newest stored report, which is about the time of
// the last launch, or, without a report, the plan of a daemon that started when this one did.
// Nothing without a daemon, and for a plugin that is newer than the daemon and has not reported to
// it.
std::optional<std::chrono::system_clock::time_point> EstimateNextLaunch(
    const SurveyedPlugin& plugin, const Host& host, const PluginReports& reports);

}  // namespace Ctl
