#include "ctl/sight/host_view.h"

#include "ctl/doctor/command.h"
#include "ctl/doctor/host.h"
#include "ctl/host/plugin_survey.h"
#include "ctl/plugins/findings.h"
#include "ctl/plugins/launches.h"
#include "ctl/show/words.h"
#include "state/state_reader.h"

#include <algorithm>
#include <exception>
#include <map>
#include <tuple>
#include <utility>

#include <unistd.h>

namespace Ctl {

namespace {

// The known next launches of the enabled plugins, by name.
std::map<std::string, NextLaunch> NextLaunches(const Host& host, const PluginSurvey& survey) {
    const PluginReports reports =
        host.state ? PluginReports() : ReadPluginReports(host, survey);  // for estimates alone
    std::map<std::string, NextLaunch> launches;
    for (const SurveyedPlugin& plugin : survey.entries) {
        const NextLaunch next =
            plugin.IsEnabled() ? FindNextLaunch(plugin, host, reports) : NextLaunch();
        if (next.time) {
            launches.emplace(plugin.Name(), next);
        }
    }
    return launches;
}

void AddLaunches(const Host& host, const PluginSurvey& survey, HostView& view) {
    const std::vector<PluginPeriod> plugins = PeriodsOf(survey, host.state);
    const std::map<std::string, NextLaunch> launches = NextLaunches(host, survey);
    for (const PluginPeriod& plugin : plugins) {
        if (const auto launch = launches.find(plugin.name); launch != launches.end()) {
            view.launches.push_back({plugin.name, *launch->second.time, plugin.period});
        }
    }
    std::sort(view.launches.begin(), view.launches.end(),
              [](const auto& one, const auto& other) { return one.at < other.at; });
    for (ViewedReport& report : view.reports) {
        const std::size_t plugin = FindPluginOf(report.judged.report.name, plugins);
        const auto launch =
            plugin < plugins.size() ? launches.find(plugins[plugin].name) : launches.end();
        if (launch != launches.end()) {
            report.next = launch->second;
        }
    }
}

HostView ViewJudged(const Host& host, std::vector<JudgedReport> reports,
                    const PluginSurvey& survey) {
    HostView view;
    SortByUrgency(reports);
    for (JudgedReport& report : reports) {
        std::string reason = ReasonOf(report);
        view.reports.push_back({std::move(report), std::move(reason), {}, {}});
    }
    try {
        AddLaunches(host, survey, view);
    } catch (const std::exception&) {
        // reports are shown without launches; "plugin plan" explains the fault
    }
    view.now = std::chrono::system_clock::now();
    return view;
}

}  // namespace

void SortByUrgency(std::vector<JudgedReport>& reports) {
    std::stable_sort(reports.begin(), reports.end(), [](const auto& one, const auto& other) {
        return std::tuple(RankOf(one.state), one.silence.has_value(), one.report.name) <
               std::tuple(RankOf(other.state), other.silence.has_value(), other.report.name);
    });
}

Host HostInView(const GivenOptions& options) {
    Host host = HostOf(options);
    if (!host.isElsewhere) {
        InspectDaemon(host);
    }
    const bool isSilent = host.daemon && host.daemon->isStopped;
    if (isSilent && host.mayBeOffline && ::access(host.reportDirectory.c_str(), R_OK | X_OK) == 0) {
        host.isOffline = true;  // the API would not answer
    }
    return host;
}

PluginSurvey PluginsOf(const Host& host) {
    return host.isElsewhere ? PluginSurvey() : SurveyPlugins();
}

HostView ViewReports(const Host& host, const std::vector<std::string>& names) {
    return ViewJudged(host, ReadJudgedReports(host, names), PluginsOf(host));
}

HostView ViewStored(const Host& host, std::vector<StoredReport> reports,
                    const PluginSurvey& survey) {
    const auto now = std::chrono::system_clock::now();
    std::vector<JudgedReport> judged =
        JudgeReports(std::move(reports), PeriodsOf(survey, host.state), now);
    if (!host.isElsewhere) {
        AddSilences(judged, now);
    }
    return ViewJudged(host, std::move(judged), survey);
}

HostView ViewHost(const Host& host) {
    std::string problem;
    try {
        return ViewReports(host, {});
    } catch (const std::exception& exception) {
        problem = exception.what();
    }
    HostView view{std::chrono::system_clock::now(), {}, {}, {}, std::move(problem)};
    try {
        AddLaunches(host, PluginsOf(host), view);
    } catch (const std::exception&) {
        // the problem of the reports is shown; "plugin plan" explains this one
    }
    return view;
}

std::vector<std::string> NamesOf(const HostView& view) {
    std::vector<std::string> names;
    names.reserve(view.reports.size());
    for (const ViewedReport& report : view.reports) {
        names.push_back(report.judged.report.name);
    }
    return names;
}

void AddStoredReports(const Host& host, HostView& view) {
    if (host.isElsewhere) {
        return;
    }
    try {
        const std::string directory = RequireReportDirectory(host);
        if (view.reports.size() == 1) {  // without reading those of all others
            ViewedReport& report = view.reports.front();
            report.stored = ReadHistory(directory, report.judged.report.name);
            return;
        }
        std::map<std::string, std::vector<HistoricReport>> histories = ReadHistories(directory);
        for (ViewedReport& report : view.reports) {
            report.stored = std::move(histories[report.judged.report.name]);
        }
    } catch (const std::exception&) {
        // the page then shows only the newest report of each name
    }
}

void AddFindings(const Host& host, HostView& view) {
    if (host.isElsewhere) {
        return;
    }
    view.findings = Inspect(host);
    std::stable_sort(
        view.findings.begin(), view.findings.end(),
        [](const auto& one, const auto& other) { return one.severity > other.severity; });
}

std::string RemarkOn(const ViewedReport& report, std::chrono::system_clock::time_point now) {
    if (!report.judged.silence) {
        return report.reason;
    }
    return SilenceText(*report.judged.silence, now) +
           (report.reason.empty() ? "" : "; " + report.reason);
}

std::string CountsText(const std::vector<ViewedReport>& reports) {
    // by rank; silenced reports come after those that need attention
    std::map<std::pair<int, bool>, std::pair<std::size_t, std::string_view>> counts;
    for (const ViewedReport& report : reports) {
        const bool isSilenced = report.judged.silence.has_value();
        const ReportState state = isSilenced ? ReportState::Warning : report.judged.state;
        auto& [count, name] = counts[{RankOf(state), isSilenced}];
        ++count;
        name = isSilenced ? "silenced" : NameOf(state);
    }
    std::vector<std::string> words;
    words.reserve(counts.size());
    for (const auto& [rank, count] : counts) {
        words.push_back(std::to_string(count.first) + " " + std::string(count.second));
    }
    return Joined(words);
}

std::string SummaryText(const std::vector<ViewedReport>& reports) {
    const bool areOk = std::all_of(reports.begin(), reports.end(), [](const ViewedReport& report) {
        return report.judged.state == ReportState::Ok;
    });
    const std::string count = Counted(reports.size(), "report");
    if (reports.empty()) {
        return "no reports";
    }
    return areOk ? count + (reports.size() == 1 ? ", OK" : ", all OK")
                 : count + ": " + CountsText(reports);
}

}  // namespace Ctl
