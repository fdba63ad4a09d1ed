#include "ctl/plugins/report_findings.h"

#include "ctl/host/input_file.h"
#include "ctl/plugins/findings.h"
#include "ctl/plugins/times.h"
#include "ctl/post/check.h"
#include "ctl/reports/history.h"
#include "ctl/show/durations.h"
#include "ctl/show/failure.h"
#include "store/report.h"
#include "store/report_name.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>

#include <unistd.h>

namespace Ctl {

namespace {

std::vector<Finding> ExplainSilence(const std::string& subject, const SurveyedPlugin& plugin,
                                    const Host& host, const PluginReports& reports) {
    if (!host.daemon || reports.directory.empty()) {
        return {};
    }
    const DaemonProcess& daemon = *host.daemon;
    if (host.state) {
        const Sentrel::PluginState* const known = host.state->Find(plugin.Name());
        if (known == nullptr || !known->end) {
            return {};  // CheckLaunches reports it, or its first launch is still to come
        }
        return {{Severity::Warning, subject,
                 "no report, although its last run ended " +
                     DurationText(
                         std::chrono::duration_cast<std::chrono::seconds>(host.now - *known->end)) +
                     " ago",
                 "see what it does: sentrelctl plugin run " + plugin.Name()}};
    }
    if (IsNewerThan(plugin, daemon)) {
        return {{Severity::Notice, subject,
                 "no report yet: the plugin or its configuration is newer than the daemon's start",
                 "restart the daemon, which finds plugins only when it starts: systemctl restart "
                 "sentrel"}};
    }
    const auto running =
        std::chrono::duration_cast<std::chrono::seconds>(host.now - daemon.started);
    if (running <= plugin.firstRun + plugin.period) {
        return {};
    }
    return {{Severity::Warning, subject,
             "no report, although the daemon has run for " + DurationText(running) +
                 " and launches it every " + DurationText(plugin.period),
             "see what it does: sentrelctl plugin run " + plugin.Name()}};
}

// Whether the daemon's answers omit the newest report of that name.
bool IsLeftOut(const std::string& directory, const std::string& report) {
    const std::vector<HistoricReport> history = ReadHistory(directory, report);
    return std::any_of(history.begin(), history.end(), [](const HistoricReport& historic) {
        return historic.isNewest && !historic.fault.empty();
    });
}

void CheckReport(const std::string& subject, const std::string& directory,
                 const std::string& report, std::vector<Finding>& findings) {
    const std::string path = directory + Sentrel::LinkName(report);
    std::vector<std::string> problems;
    try {
        problems =
            FindProblems(ReadRegularFile(path, Sentrel::kMaxStoredSize, "the report"), report);
    } catch (const Failure& failure) {
        if (failure.ErrorNumber() == EACCES) {
            findings.push_back(
                {Severity::Notice, subject, failure.WhatHappened(), "run this as root", true});
        } else if (::access(path.c_str(), F_OK) == 0) {  // else its link is just being renewed
            findings.push_back({Severity::Warning, subject, failure.WhatHappened(), "remove it"});
        }
        return;
    }
    if (problems.empty()) {
        return;
    }
    const Severity severity = IsLeftOut(directory, report) ? Severity::Error : Severity::Warning;
    const std::string what = "invalid report " + report + ": ";
    for (const std::string& problem : problems) {
        findings.push_back(
            {severity, subject, what + problem, "fix the plugin; see sentrel-report(5)"});
    }
}

}  // namespace

std::vector<Finding> CheckReports(const std::string& subject, const SurveyedPlugin& plugin,
                                  const Host& host, const PluginReports& reports) {
    const auto names = reports.names.find(plugin.Name());
    if (names == reports.names.end()) {
        return ExplainSilence(subject, plugin, host, reports);
    }
    std::vector<Finding> findings;
    for (const std::string& report : names->second) {
        CheckReport(subject, reports.directory, report, findings);
    }
    return findings;
}

}  // namespace Ctl
