// What the screens and the page show of one host, read at one moment.
#pragma once

#include "ctl/host/host.h"
#include "ctl/host/plugin_survey.h"
#include "ctl/plugins/launches.h"
#include "ctl/reports/history.h"
#include "ctl/reports/state.h"
#include "ctl/show/finding.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace Ctl {

struct ViewedReport {
    JudgedReport judged;
    std::string reason;                  // empty when there is none
    std::vector<HistoricReport> stored;  // newest first; empty when the directory was not read
    NextLaunch next;                     // of its plugin
};

struct ViewedLaunch {
    std::string plugin;
    std::chrono::system_clock::time_point at;
    std::chrono::seconds period;
};

struct HostView {
    std::chrono::system_clock::time_point now;
    std::vector<ViewedReport> reports;   // as SortByUrgency sorts them
    std::vector<ViewedLaunch> launches;  // of all enabled plugins, the next first
    std::vector<Finding> findings;       // of doctor; empty where they were not asked for
    std::string problem;                 // why the reports, or the launches, cannot be seen
};

// The host of these options with its daemon and what the daemon tells of itself.
Host HostInView(const GivenOptions& options);

// The worst first, silenced ones after the others of their state, then by name.
void SortByUrgency(std::vector<JudgedReport>& reports);

// Reads the reports of these names, or all, and the next launches as far as they are known. Throws
// what ReadJudgedReports throws.
HostView ViewReports(const Host& host, const std::vector<std::string>& names);

// The same of reports and plugins that were read before.
HostView ViewStored(const Host& host, std::vector<StoredReport> reports,
                    const PluginSurvey& survey);

// The same of all names. Throws nothing: what cannot be read is left out, and `problem` says why.
HostView ViewHost(const Host& host);

// Adds the stored reports of each name where the report directory can be read.
void AddStoredReports(const Host& host, HostView& view);

// Adds what doctor finds, the worst first.
void AddFindings(const Host& host, HostView& view);

// What a line of a table says of the report: until when it is silenced and why, and its reason.
std::string RemarkOn(const ViewedReport& report, std::chrono::system_clock::time_point now);

// "1 ERROR, 1 STALE, 1 silenced, 9 OK": how many are in each state, the worst first, without those
// that are silenced.
std::string CountsText(const std::vector<ViewedReport>& reports);

// "11 reports, all OK", "11 reports: 1 ERROR, 10 OK".
std::string SummaryText(const std::vector<ViewedReport>& reports);

}  // namespace Ctl
