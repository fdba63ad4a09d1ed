// The data of one host that the screens and the page show, read at one moment.
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
    std::string reason;                  // empty if there is none
    std::vector<HistoricReport> stored;  // newest first; empty if the directory was not read
    NextLaunch next;                     // the next launch of its plugin
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
    std::vector<Finding> findings;       // those of "doctor"; empty if not requested
    std::string problem;                 // why reports or launches cannot be read
};

// The host of these options, with its daemon and the daemon's state.
Host HostInView(const GivenOptions& options);

// The worst first, silenced ones after the others of their state, then by name.
void SortByUrgency(std::vector<JudgedReport>& reports);

// The plugins of the host in view; none of a host elsewhere.
PluginSurvey PluginsOf(const Host& host);

// Reads the reports of these names, or all, and the known next launches. Throws what
// ReadJudgedReports throws.
HostView ViewReports(const Host& host, const std::vector<std::string>& names);

// Like ViewReports, for reports and plugins that were read before.
HostView ViewStored(const Host& host, std::vector<StoredReport> reports,
                    const PluginSurvey& survey);

// Like ViewReports for all names, but does not throw: omits what cannot be read, and `problem` says
// why.
HostView ViewHost(const Host& host);

// The names of its reports, in their order.
std::vector<std::string> NamesOf(const HostView& view);

// Adds the stored reports of each name, if the report directory can be read. None of a host
// elsewhere; nor does AddFindings.
void AddStoredReports(const Host& host, HostView& view);

// Adds the findings of doctor, the worst first.
void AddFindings(const Host& host, HostView& view);

// The remark in a report's row of a table: until when it is silenced and why, and its reason.
std::string RemarkOn(const ViewedReport& report, std::chrono::system_clock::time_point now);

// "1 ERROR, 1 STALE, 1 silenced, 9 OK": how many are in each state, the worst first, without those
// that are silenced.
std::string CountsText(const std::vector<ViewedReport>& reports);

// "11 reports, all OK", "11 reports: 1 ERROR, 10 OK".
std::string SummaryText(const std::vector<ViewedReport>& reports);

}  // namespace Ctl
