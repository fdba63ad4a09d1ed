#include "ctl/plugins/plan.h"

#include "ctl/host/daemon_settings.h"
#include "ctl/host/host.h"
#include "ctl/host/plugin_survey.h"
#include "ctl/plugins/findings.h"
#include "ctl/plugins/launches.h"
#include "ctl/plugins/times.h"
#include "ctl/show/durations.h"
#include "ctl/show/json_output.h"
#include "ctl/show/sizes.h"
#include "ctl/show/table.h"
#include "ctl/show/times.h"
#include "ctl/show/words.h"
#include "plugins/plugin.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

namespace Ctl {

namespace {

using OrderedJson = nlohmann::ordered_json;
using std::chrono::seconds;
using std::chrono::system_clock;

// The arguments of the plugin's command line, as the daemon composes it.
std::vector<std::string> ArgumentsOf(const SurveyedPlugin& plugin,
                                     const Pellmar::Ref<Pellmar::Service::ConfigReader>& settings) {
    const Sentrel::Plugin launched(plugin.entry.info, settings);
    std::vector<std::string> arguments;
    for (char* const* argument = launched.GetArgv(); *argument != nullptr; ++argument) {
        arguments.emplace_back(*argument);
    }
    return arguments;
}

struct PlannedPlugin {
    const SurveyedPlugin& plugin;
    seconds guaranteed;
    std::vector<std::string> mayBeEndedBy;
    NextLaunch next;
    std::vector<std::string> arguments;
};

std::vector<PlannedPlugin> MakePlan(const PluginSurvey& survey, const Host& host) {
    const PluginReports reports = ReadPluginReports(host, survey);
    const auto settings = ReadDaemonSettingsOrDefaults();
    Sentrel::Plugin::sResourcePoolSizeMB = survey.poolSizeMB;
    (void)SilentLogger();  // silences the warning about a port that is not set
    std::vector<PlannedPlugin> plan;
    for (const SurveyedPlugin* plugin : InLaunchOrder(survey)) {
        plan.push_back({*plugin, GuaranteedRunTime(survey, *plugin), MayBeEndedBy(survey, *plugin),
                        FindNextLaunch(*plugin, host, reports), ArgumentsOf(*plugin, settings)});
    }
    return plan;
}

std::string DaemonText(const Host& host) {
    const auto runningSince = [&host](system_clock::time_point start) {
        return DurationText(std::chrono::duration_cast<seconds>(host.now - start));
    };
    if (host.daemon) {
        return "process " + std::to_string(host.daemon->pid) + ", for " +
               runningSince(host.daemon->started);
    }
    if (host.state) {
        return "running for " + runningSince(host.state->started);
    }
    return std::string(::geteuid() == 0 ? "not running"
                                        : "not running, or not visible to this user") +
           ", so the next launches are unknown";
}

std::string CountsText(const Sentrel::DaemonState& state) {
    using Sentrel::StateCount;
    const auto count = [&state](StateCount what) {
        return std::to_string(state.counts[static_cast<std::size_t>(what)]);
    };
    return "posts: " + count(StateCount::PostsStored) + " stored, " +
           count(StateCount::PostsRefused) + " refused; launches: " + count(StateCount::Launches) +
           ", and " + count(StateCount::LaunchesRefused) +
           " refused; plugins: " + count(StateCount::Kills) + " sent SIGTERM, " +
           count(StateCount::MemoryKills) +
           " killed for lack of memory; API calls: " + count(StateCount::CallsSucceeded) +
           ", and " + count(StateCount::CallsFailed) + " failed";
}

void WriteTotals(const PluginSurvey& survey, const Host& host, std::ostream& output) {
    const std::size_t count = survey.counts.fast + survey.counts.medium + survey.counts.slow;
    const seconds slot(Sentrel::kThrottleTimeoutSeconds);
    const std::string minimum = DurationText(seconds(survey.timetable.minimumPeriod));
    const std::string fast = DurationText(seconds(survey.timetable.fast.period));
    Table totals({{}, {}});
    totals.Add({"Slots", std::to_string(count) + ", of " + DurationText(slot) +
                             " each: " + std::to_string(survey.counts.fast) + " fast, " +
                             std::to_string(survey.counts.medium) + " medium, " +
                             std::to_string(survey.counts.slow) + " slow"});
    totals.Add(
        {"Fast period", survey.timetable.fastPeriodWasRaised
                            ? fast + ", raised from " +
                                  DurationText(std::chrono::minutes(survey.configuredFastMinutes)) +
                                  " to give every plugin a slot"
                            : fast + "; the slots of all plugins take " + minimum + " of it"});
    totals.Add({"Memory",
                SizeText(std::uintmax_t(survey.poolSizeMB) << 20) + ", for all plugins together"});
    totals.Add({"Daemon", DaemonText(host)});
    if (host.state) {
        totals.Add({"Since its start", CountsText(*host.state)});
    }
    output << '\n';
    totals.Write(output);
}

void WritePlan(const std::vector<PlannedPlugin>& plan, const PluginSurvey& survey, const Host& host,
               std::ostream& output) {
    using Align = Table::Align;
    Table table({{"PLUGIN"},
                 {"QUEUE"},
                 {"FIRST", Align::Right},
                 {"PERIOD", Align::Right},
                 {"GUARANTEED", Align::Right},
                 {"NEXT", Align::Right},
                 {"UNLESS ENDED BY"}});
    Table commands({{}, {}});
    for (const PlannedPlugin& planned : plan) {
        table.Add({planned.plugin.Name(), std::string(QueueOf(planned.plugin)),
                   DurationText(planned.plugin.firstRun), DurationText(planned.plugin.period),
                   DurationText(planned.guaranteed), NextText(planned.next, host.now),
                   planned.mayBeEndedBy.empty() ? "-" : Joined(planned.mayBeEndedBy)});
        commands.Add({planned.plugin.Name(), Joined(planned.arguments, " ")});
    }
    if (plan.empty()) {
        output << "No plugin is enabled; see \"sentrelctl plugin list\".\n";
    } else {
        table.Write(output);
        output << "\nCommand lines:\n";
        commands.Write(output);
    }
    WriteTotals(survey, host, output);
}

void WritePlanJson(const std::vector<PlannedPlugin>& plan, const PluginSurvey& survey,
                   const Host& host, std::ostream& output) {
    OrderedJson plugins = OrderedJson::array();
    for (const PlannedPlugin& planned : plan) {
        OrderedJson row = {{"name", planned.plugin.Name()},
                           {"queue", QueueOf(planned.plugin)},
                           {"firstRunSeconds", planned.plugin.firstRun.count()},
                           {"periodSeconds", planned.plugin.period.count()},
                           {"guaranteedSeconds", planned.guaranteed.count()},
                           {"mayBeEndedBy", planned.mayBeEndedBy},
                           {"commandLine", planned.arguments}};
        if (planned.next.time) {
            row[planned.next.isEstimate ? "nextLaunchEstimate" : "nextLaunch"] =
                UtcText(*planned.next.time);
        }
        plugins.push_back(std::move(row));
    }
    OrderedJson document = {
        {"plugins", std::move(plugins)},
        {"slotSeconds", Sentrel::kThrottleTimeoutSeconds},
        {"slots", survey.counts.fast + survey.counts.medium + survey.counts.slow},
        {"fastPeriodSeconds", survey.timetable.fast.period},
        {"fastPeriodWasRaised", survey.timetable.fastPeriodWasRaised},
        {"poolSizeMB", survey.poolSizeMB}};
    if (host.daemon) {
        document["daemon"] = {{"pid", host.daemon->pid},
                              {"started", UtcText(host.daemon->started)}};
    }
    WriteJson(document, output);
}

}  // namespace

void RunPluginPlan(const Arguments& arguments, std::ostream& output) {
    const PluginSurvey survey = SurveyPlugins();
    RequireDirectory(survey);
    Host host = HostOf(arguments.options);
    host.daemon = FindDaemonOnAnyPort();
    host.state = Sentrel::ReadDaemonState();
    const std::vector<PlannedPlugin> plan = MakePlan(survey, host);
    if (arguments.options.Has("--json")) {
        WritePlanJson(plan, survey, host, output);
    } else {
        WritePlan(plan, survey, host, output);
    }
}

}  // namespace Ctl
