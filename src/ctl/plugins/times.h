// When plugins are launched and how long they may run, worked out from the daemon's timetable.
#pragma once

#include "ctl/host/plugin_survey.h"
#include "ctl/plugins/findings.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace Ctl {

// The enabled ones, in the order of their first runs.
std::vector<const SurveyedPlugin*> InLaunchOrder(const PluginSurvey& survey);

// How long an enabled plugin may run before the plan has it sent SIGTERM: until the next batch of
// its own queue, in any round, or, in the first round after the daemon's start, until the first
// batch of any queue.
std::chrono::seconds GuaranteedRunTime(const PluginSurvey& survey, const SurveyedPlugin& plugin);

// The plugins that open the other queues. Their batches end whatever runs; in later rounds they may
// come at any time, since each batch counts its period from the end of its own last run.
std::vector<std::string> MayBeEndedBy(const PluginSurvey& survey, const SurveyedPlugin& plugin);

// Whether the plugin's file or its configuration changed after the daemon's start, at which it
// looks for plugins once.
bool IsNewerThan(const SurveyedPlugin& plugin, const DaemonProcess& daemon);

// An estimate: a period after the newest stored report, which is about when it was launched last,
// or what the plan says for a daemon that started when this one did. Nothing without a daemon,
// and for a plugin that is newer than it and has not reported to it.
std::optional<std::chrono::system_clock::time_point> EstimateNextLaunch(
    const SurveyedPlugin& plugin, const Host& host, const PluginReports& reports);

}  // namespace Ctl
