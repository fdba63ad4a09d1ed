#include "ctl/reports/state.h"

#include "ctl/command/command_line.h"
#include "ctl/host/plugin_survey.h"
#include "ctl/reports/metrics.h"
#include "ctl/reports/name_conflicts.h"
#include "ctl/show/durations.h"
#include "ctl/show/failure.h"
#include "ctl/show/note.h"
#include "ctl/show/times.h"
#include "ctl/show/words.h"
#include "store/report_name.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Ctl {

namespace {

constexpr std::string_view kNames[] = {"OK",      "WARNING", "ERROR", "NONE",
                                       "UNKNOWN", "STALE",   "NEVER", "INVALID"};

struct Look {
    int rank;
    std::string_view mark;
    std::string_view plainMark;  // if the locale's encoding is not UTF-8
    Colour colour;
};

constexpr Look LookOf(ReportState state) {
    switch (state) {
        case ReportState::Error:
            return {0, "✖", "X", Colour::Red};
        case ReportState::Invalid:
            return {1, "?", "?", Colour::Magenta};
        case ReportState::Unknown:
            return {2, "?", "?", Colour::Magenta};
        case ReportState::Stale:
            return {3, "◌", "~", Colour::Cyan};
        case ReportState::Never:
            return {4, "◌", "~", Colour::Cyan};
        case ReportState::Warning:
            return {5, "▲", "!", Colour::Yellow};
        case ReportState::None:
            return {6, "–", "-", Colour::Faint};
        case ReportState::Ok:
            return {7, "●", " ", Colour::Green};
    }
    return {7, " ", " ", Colour::Plain};
}

bool IsReportOf(std::string_view report, std::string_view plugin) {
    return Sentrel::IsSameReportName(report.substr(0, plugin.size()), plugin) &&
           (report.size() == plugin.size() || report[plugin.size()] == '.');
}

bool IsExpired(const JudgedReport& judged) {
    return judged.validFor && judged.age && *judged.age > *judged.validFor;
}

// Why the report is stale, and its last state unless that was OK.
std::string StaleReason(const JudgedReport& judged) {
    std::string reason;
    if (IsInFuture(judged)) {
        reason = "its time is in the future";
    } else {
        reason = "last report " + AgeText(judged.age) + " ago, " +
                 (IsExpired(judged) ? "valid for " + DurationText(*judged.validFor)
                                    : "expected every " + DurationText(*judged.period));
    }
    if (judged.report.status == NameOf(ReportState::Ok)) {
        return reason;
    }
    const std::string last = ReasonOf(judged.report.unstructured);
    return reason + "; it said " + judged.report.status + (last.empty() ? "" : ": " + last);
}

// Whether a report of that age at `now` is overdue. Until the daemon has run the plugin
// for the first time, the report's age at the daemon's start counts.
bool IsOverdue(const PluginPeriod& plugin, std::chrono::seconds age,
               std::chrono::system_clock::time_point now) {
    if (plugin.awaitedSince) {
        age -= std::chrono::duration_cast<std::chrono::seconds>(now - *plugin.awaitedSince);
    }
    return age * 2 > plugin.period * 3;
}

// `plugin` is the report's own, or null.
JudgedReport Judge(StoredReport report, const PluginPeriod* plugin,
                   std::chrono::system_clock::time_point now) {
    JudgedReport judged;
    if (report.status.empty()) {
        judged.state = ReportState::Invalid;
    } else {
        judged.state = ParseState(report.status).value_or(ReportState::Unknown);
        judged.age = AgeOf(report.time, now);
        judged.validFor = ValidForOf(report.unstructured);
        if (plugin != nullptr) {
            judged.period = plugin->period;
        }
        const bool isOverdue =
            plugin != nullptr && judged.age && IsOverdue(*plugin, *judged.age, now);
        if (isOverdue || IsExpired(judged) || IsInFuture(judged)) {
            judged.state = ReportState::Stale;
        }
    }
    judged.report = std::move(report);
    return judged;
}

// The daemon goes on launching a plugin whose file was removed, in vain.
std::vector<PluginPeriod> PeriodsOfRemoved(const PluginSurvey& survey,
                                           const std::optional<Sentrel::DaemonState>& state) {
    std::vector<PluginPeriod> periods;
    if (!state || !survey.hasDirectory) {
        return periods;
    }
    const Sentrel::QueueTiming* const timings[] = {&survey.timetable.fast, &survey.timetable.medium,
                                                   &survey.timetable.slow};
    for (const Sentrel::PluginState& plugin : state->plugins) {
        const bool isThere = std::any_of(
            survey.entries.begin(), survey.entries.end(),
            [&plugin](const SurveyedPlugin& entry) { return entry.Name() == plugin.name; });
        if (!isThere && plugin.queue < std::size(timings)) {
            periods.push_back({plugin.name, std::chrono::seconds(timings[plugin.queue]->period)});
        }
    }
    return periods;
}

}  // namespace

bool IsFine(const JudgedReport& judged) {
    return judged.state == ReportState::Ok || judged.state == ReportState::None;
}

bool IsInFuture(const JudgedReport& judged) { return judged.age && *judged.age < -kToleratedLead; }

std::string_view NameOf(ReportState state) { return kNames[static_cast<std::size_t>(state)]; }

int RankOf(ReportState state) { return LookOf(state).rank; }

std::string_view MarkOf(ReportState state) { return LookOf(state).mark; }

std::string_view TerminalMarkOf(ReportState state) {
    const Look look = LookOf(state);
    return ShowsUnicode() ? look.mark : look.plainMark;
}

Colour ColourOf(ReportState state) { return LookOf(state).colour; }

std::optional<ReportState> ParseState(std::string_view name) {
    for (const ReportState state : kReportStates) {
        if (Sentrel::IsSameReportName(NameOf(state), name)) {
            return state;
        }
    }
    return std::nullopt;
}

ReportState RequireState(const std::string& option, const std::string& name) {
    if (const std::optional<ReportState> state = ParseState(name)) {
        return *state;
    }
    throw UsageError("option \"" + option + "\": unknown state \"" + name + "\"",
                     "choose " + Enumerated({std::begin(kNames), std::end(kNames)}, "or"));
}

std::string ReasonOf(const JudgedReport& judged) {
    switch (judged.state) {
        case ReportState::Never:
            return "this plugin has not reported yet";
        case ReportState::Invalid:
            return "it is not a valid report; see \"sentrelctl history " + judged.report.name +
                   "\"";
        case ReportState::Stale:
            return StaleReason(judged);
        default:
            return ReasonOf(judged.report.unstructured);
    }
}

std::vector<PluginPeriod> PeriodsOf(const PluginSurvey& survey,
                                    const std::optional<Sentrel::DaemonState>& state) {
    std::vector<PluginPeriod> periods = PeriodsOfRemoved(survey, state);
    for (const SurveyedPlugin& plugin : survey.entries) {
        if (plugin.IsEnabled()) {
            const Sentrel::PluginState* const known = state ? state->Find(plugin.Name()) : nullptr;
            const bool isAwaited = known != nullptr && !known->start;
            periods.push_back({plugin.Name(), plugin.period,
                               isAwaited ? std::optional(state->started) : std::nullopt});
        }
    }
    return periods;
}

std::vector<PluginPeriod> ReadPluginPeriods() {
    return PeriodsOf(SurveyPlugins(), Sentrel::ReadDaemonState());
}

std::size_t FindPluginOf(const std::string& report, const std::vector<PluginPeriod>& plugins) {
    std::size_t found = plugins.size();
    for (std::size_t index = 0; index < plugins.size(); ++index) {
        if (IsReportOf(report, plugins[index].name) &&
            (found == plugins.size() || plugins[index].name.size() > plugins[found].name.size())) {
            found = index;
        }
    }
    return found;
}

std::vector<JudgedReport> JudgeReports(std::vector<StoredReport> reports,
                                       const std::vector<PluginPeriod>& plugins,
                                       std::chrono::system_clock::time_point now) {
    std::vector<JudgedReport> judged;
    std::vector<bool> hasReport(plugins.size() + 1);
    for (StoredReport& report : reports) {
        const std::size_t plugin = FindPluginOf(report.name, plugins);
        hasReport[plugin] = true;
        judged.push_back(
            Judge(std::move(report), plugin < plugins.size() ? &plugins[plugin] : nullptr, now));
    }
    for (std::size_t plugin = 0; plugin < plugins.size(); ++plugin) {
        if (!hasReport[plugin]) {
            judged.push_back({.report = {.name = plugins[plugin].name, .time = ""},
                              .state = ReportState::Never});
        }
    }
    std::sort(judged.begin(), judged.end(), [](const JudgedReport& a, const JudgedReport& b) {
        return a.report.name < b.report.name;
    });
    return judged;
}

void AddSilences(std::vector<JudgedReport>& reports, std::chrono::system_clock::time_point now) {
    std::vector<Silence> silences;
    try {
        silences = ReadSilences(now);
    } catch (const Failure& failure) {
        NoteOnce(failure.what());
    }
    for (JudgedReport& report : reports) {
        const auto found =
            std::find_if(silences.begin(), silences.end(), [&report](const Silence& silence) {
                return Sentrel::IsSameReportName(silence.name, report.report.name);
            });
        if (found != silences.end() && !IsFine(report)) {
            report.silence = *found;
        }
    }
}

std::vector<JudgedReport> ReadJudgedReports(const Host& host,
                                            const std::vector<std::string>& names) {
    const auto isWanted = [&names](const std::string& name) {
        return names.empty() || std::any_of(names.begin(), names.end(), [&](const auto& wanted) {
                   return Sentrel::IsSameReportName(name, wanted);
               });
    };
    const std::vector<PluginPeriod> plugins =
        host.isElsewhere ? std::vector<PluginPeriod>() : ReadPluginPeriods();
    std::vector<StoredReport> reports = ReadReports(host, names);
    // judged by the present time: some reports are newer than the command's start
    const auto now = std::chrono::system_clock::now();
    std::vector<JudgedReport> judged = JudgeReports(std::move(reports), plugins, now);
    std::erase_if(judged, [&](const JudgedReport& row) { return !isWanted(row.report.name); });
    if (!host.isElsewhere) {
        AddSilences(judged, now);
    }
    return judged;
}

std::vector<std::string> MissingNames(const std::vector<std::string>& present,
                                      const std::vector<std::string>& names) {
    std::vector<std::string> missing;
    for (const std::string& name : names) {
        if (std::none_of(present.begin(), present.end(), [&name](const std::string& one) {
                return Sentrel::IsSameReportName(one, name);
            })) {
            missing.push_back('"' + name + '"');
        }
    }
    return missing;
}

std::vector<std::string> WarningsOf(const std::vector<std::string>& names) {
    std::vector<std::string> warnings;
    for (const NameConflict& conflict : FindNameConflicts(names)) {
        warnings.push_back(conflict.why + "; rename one of the two");
    }
    return warnings;
}

}  // namespace Ctl
