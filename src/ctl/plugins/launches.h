// A plugin's next launch and the outcome of its last run, from the daemon's state file. Without
// that file, the next launch is an estimate and the last run is unknown.
#pragma once

#include "ctl/host/host.h"
#include "ctl/host/plugin_survey.h"
#include "ctl/plugins/findings.h"
#include "ctl/show/finding.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Ctl {

struct NextLaunch {
    std::optional<std::chrono::system_clock::time_point> time;  // unset when unknown
    bool isEstimate = false;
};

NextLaunch FindNextLaunch(const SurveyedPlugin& plugin, const Host& host,
                          const PluginReports& reports);

// "2 min 30 s" from now, "~2 min 30 s" for an estimate, "-" when unknown.
std::string NextText(const NextLaunch& next, std::chrono::system_clock::time_point now);

// "running", "ended", "terminated", "out-of-memory kill", "not started", "none".
std::string_view NameOf(Sentrel::RunState run);

// Such as "ended after 2 s" or "not started: Permission denied".
std::string LastRunText(const Sentrel::PluginState& known,
                        std::chrono::system_clock::time_point now);

// Finds where the daemon differs from the plugin's files, because it read them when it started, and
// what went wrong in the last run. No findings without a state file.
std::vector<Finding> CheckLaunches(const std::string& subject, const SurveyedPlugin& plugin,
                                   const Host& host);

}  // namespace Ctl
