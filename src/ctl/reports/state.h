// Judges the state of a report: the state that it gives, or STALE, NEVER or INVALID. No other code
// judges this.
#pragma once

#include "ctl/reports/silence.h"
#include "ctl/reports/source.h"
#include "ctl/show/terminal.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Ctl {

enum class ReportState { Ok, Warning, Error, None, Unknown, Stale, Never, Invalid };
inline constexpr ReportState kReportStates[] = {
    ReportState::Ok,      ReportState::Warning, ReportState::Error, ReportState::None,
    ReportState::Unknown, ReportState::Stale,   ReportState::Never, ReportState::Invalid};

// "OK", "WARNING", ...
std::string_view NameOf(ReportState state);
// The urgency of a state; 0 is the most urgent.
int RankOf(ReportState state);
// "✖", "▲", ...: one column wide.
std::string_view MarkOf(ReportState state);
// The mark for a terminal, whose locale may not use UTF-8.
std::string_view TerminalMarkOf(ReportState state);
Colour ColourOf(ReportState state);
// The state with that name, ignoring case.
std::optional<ReportState> ParseState(std::string_view name);
// The same for the value of an option. Throws UsageError for any other name.
ReportState RequireState(const std::string& option, const std::string& name);

// An enabled plugin. Its reports have its name, or its name, "." and a suffix.
struct PluginPeriod {
    std::string name;
    std::chrono::seconds period;
    // The start of the running daemon, until that daemon first runs the plugin.
    std::optional<std::chrono::system_clock::time_point> awaitedSince = {};
};

struct JudgedReport {
    StoredReport report;  // if the plugin has no report, only its name
    ReportState state = ReportState::Unknown;
    std::optional<std::chrono::seconds> age = {};       // only if the report can be read
    std::optional<std::chrono::seconds> period = {};    // of its plugin
    std::optional<std::chrono::seconds> validFor = {};  // according to the report
    std::optional<Silence> silence = {};                // of a report that is not fine
};

// OK, or NONE: the host lacks what the check is about.
bool IsFine(const JudgedReport& judged);

// How far the time of a report may be ahead of this host's clock.
inline constexpr std::chrono::seconds kToleratedLead{60};
bool IsInFuture(const JudgedReport& judged);

// The reason for the state, for a person; empty if the report gives none.
std::string ReasonOf(const JudgedReport& judged);

struct PluginSurvey;

// The enabled plugins of the survey, and those that the running daemon launches although their
// files were removed.
std::vector<PluginPeriod> PeriodsOf(const PluginSurvey& survey,
                                    const std::optional<Sentrel::DaemonState>& state);

// The enabled plugins of this host with their periods, by the daemon's own rules; none if there is
// no plugin directory. Throws a std::exception, with what to do, if the directory cannot be listed.
std::vector<PluginPeriod> ReadPluginPeriods();

// The index of the plugin that a report belongs to: of two candidates, the one with the longer
// name; the number of plugins if there is none.
std::size_t FindPluginOf(const std::string& report, const std::vector<PluginPeriod>& plugins);

// The reports and the plugins without a report, sorted by name. A report is stale if it is older
// than one and a half periods of its plugin (unless it was fresh when the daemon started and the
// plugin has not run since), older than its own "validFor", or dated in the future. A report that
// two plugins could have posted belongs to the one with the longer name.
std::vector<JudgedReport> JudgeReports(std::vector<StoredReport> reports,
                                       const std::vector<PluginPeriod>& plugins,
                                       std::chrono::system_clock::time_point now);

// Sets the silence of each report that is not fine. Prints a note if they cannot be read.
void AddSilences(std::vector<JudgedReport>& reports, std::chrono::system_clock::time_point now);

// Reads and judges the reports of these names, or all.
std::vector<JudgedReport> ReadJudgedReports(const Host& host,
                                            const std::vector<std::string>& names);

// Those of `names` that are not among the present ones, in quotes. Case is ignored.
std::vector<std::string> MissingNames(const std::vector<std::string>& present,
                                      const std::vector<std::string>& names);

// Warnings about report names that share files.
std::vector<std::string> WarningsOf(const std::vector<std::string>& names);

}  // namespace Ctl
