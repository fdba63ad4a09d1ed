#include "ctl/plugins/commands.h"

#include "ctl/host/host.h"
#include "ctl/host/plugin_survey.h"
#include "ctl/plugins/findings.h"
#include "ctl/plugins/launches.h"
#include "ctl/plugins/new.h"
#include "ctl/plugins/plan.h"
#include "ctl/plugins/times.h"
#include "ctl/show/durations.h"
#include "ctl/show/failure.h"
#include "ctl/show/finding.h"
#include "ctl/show/json_output.h"
#include "ctl/show/table.h"
#include "ctl/show/times.h"
#include "platform/sys/host_root.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <optional>
#include <ostream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace Ctl {

namespace {

using OrderedJson = nlohmann::ordered_json;

constexpr std::array<Option, 1> kListOptions = {{kJsonOption}};
constexpr std::array<Option, 2> kReportOptions = {{kJsonOption, kReportsOption}};

// The plugin in the daemon's state; null if the daemon does not know it, or has no state file.
const Sentrel::PluginState* FindKnown(const std::optional<Sentrel::DaemonState>& state,
                                      const SurveyedPlugin& plugin) {
    return state ? state->Find(plugin.Name()) : nullptr;
}

OrderedJson ToJson(const Sentrel::PluginState& known) {
    OrderedJson run = {{"state", NameOf(known.run)}};
    if (known.start) {
        run["start"] = UtcText(*known.start);
    }
    if (known.end) {
        run["end"] = UtcText(*known.end);
    }
    if (known.error != 0) {
        run["error"] = std::generic_category().message(known.error);
    }
    return run;
}

OrderedJson ToJson(const SurveyedPlugin& plugin, const std::optional<Sentrel::DaemonState>& state) {
    OrderedJson row = {
        {"name", plugin.Name()}, {"state", StateOf(plugin)}, {"path", plugin.entry.info.path}};
    if (plugin.IsEnabled()) {
        row["queue"] = QueueOf(plugin);
        row["periodSeconds"] = plugin.period.count();
        row["firstRunSeconds"] = plugin.firstRun.count();
        if (!plugin.entry.info.logLevel.empty()) {
            row["logLevel"] = plugin.entry.info.logLevel;
        }
    }
    if (state) {
        const Sentrel::PluginState* const known = FindKnown(state, plugin);
        row["isKnownToDaemon"] = known != nullptr;
        if (known != nullptr) {
            row["nextLaunch"] = UtcText(known->nextLaunch);
            row["lastRun"] = ToJson(*known);
        }
    }
    row["why"] = WhyOf(plugin);
    return row;
}

void RunList(const Arguments& arguments, std::ostream& output) {
    const PluginSurvey survey = SurveyPlugins();
    RequireDirectory(survey);
    const std::optional<Sentrel::DaemonState> state = Sentrel::ReadDaemonState();
    if (arguments.options.Has("--json")) {
        OrderedJson plugins = OrderedJson::array();
        for (const SurveyedPlugin& plugin : survey.entries) {
            plugins.push_back(ToJson(plugin, state));
        }
        WriteJson({{"plugins", std::move(plugins)}}, output);
        return;
    }
    if (survey.entries.empty()) {
        output << "No plugin is installed; create one with \"sentrelctl plugin new NAME\".\n";
        return;
    }
    std::vector<Table::Column> columns = {
        {"NAME"}, {"STATE"}, {"QUEUE"}, {"PERIOD", Table::Align::Right}};
    if (state) {
        columns.insert(columns.end(), {{"NEXT", Table::Align::Right}, {"LAST RUN"}});
    }
    columns.push_back({"WHY"});
    Table table(std::move(columns));
    const auto now = std::chrono::system_clock::now();
    for (const SurveyedPlugin& plugin : survey.entries) {
        const bool isEnabled = plugin.IsEnabled();
        std::vector<Table::Cell> row = {plugin.Name(), std::string(StateOf(plugin)),
                                        isEnabled ? std::string(QueueOf(plugin)) : "-",
                                        isEnabled ? DurationText(plugin.period) : "-"};
        if (state) {
            const Sentrel::PluginState* const known = FindKnown(state, plugin);
            row.emplace_back(known != nullptr ? NextText({known->nextLaunch}, now) : "-");
            row.emplace_back(known != nullptr ? LastRunText(*known, now) : "-");
        }
        row.emplace_back(WhyOf(plugin));
        table.Add(std::move(row));
    }
    table.Write(output);
}

// The entry that the operand names, by its name or by its path in the plugin directory; null for
// another file.
const SurveyedPlugin* FindEntry(const PluginSurvey& survey, const std::string& operand) {
    const bool isFile = operand.find('/') != std::string::npos;
    const std::string name = isFile ? operand.substr(operand.rfind('/') + 1) : operand;
    for (const SurveyedPlugin& plugin : survey.entries) {
        std::error_code error;  // an error means that the directories differ
        if (plugin.Name() == name &&
            (!isFile || std::filesystem::equivalent(
                            std::filesystem::absolute(operand).parent_path(),
                            std::filesystem::path(plugin.location).parent_path(), error))) {
            return &plugin;
        }
    }
    if (!isFile) {
        throw Failure(
            "no plugin named \"" + name + "\" in " + Sys::HostPath(Sentrel::kPluginDirectory),
            "see \"sentrelctl plugin list\", or write ./" + name + " for a file here");
    }
    return nullptr;
}

std::vector<Finding> FindAll(const Arguments& arguments) {
    const PluginSurvey survey = SurveyPlugins();
    Host host = HostOf(arguments.options);
    host.daemon = FindDaemonOnAnyPort();
    host.state = Sentrel::ReadDaemonState();
    const PluginReports reports = ReadPluginReports(host, survey);
    host.user = FindPluginUser(host.daemon, reports);
    if (arguments.operands.empty()) {
        return CheckPlugins(survey, host, reports);
    }
    std::vector<Finding> findings;
    for (const std::string& operand : arguments.operands) {
        const SurveyedPlugin* const plugin = FindEntry(survey, operand);
        std::vector<Finding> more =
            plugin != nullptr ? CheckPlugin(*plugin, host, reports) : CheckPluginProgram(operand);
        std::move(more.begin(), more.end(), std::back_inserter(findings));
    }
    return findings;
}

int JudgePlugins(const Arguments& arguments, std::ostream& output) {
    std::vector<Finding> findings = FindAll(arguments);
    DropConsequences(findings);
    return ReportFindings(findings, arguments.options.Has("--json"), output);
}

constexpr std::array<Command, 4> kCommands = {{
    {"plugin list",
     "list the plugin directory, and why each entry runs or not",
     "Lists every entry of the plugin directory with its state, as the daemon sees it when\n"
     "it starts:\n"
     "  enabled           it is launched, in the queue and with the period shown\n"
     "  disabled          its configuration says so\n"
     "  no configuration  its entry in the configuration store is missing or unreadable\n"
     "  directory         it is not a plugin\n"
     "\n"
     "NEXT and LAST RUN come from the state file of the running daemon, if this user may\n"
     "read it; \"-\" marks a plugin that the daemon does not know.\n",
     "sentrelctl plugin list",
     kListOptions,
     {},
     RunList},
    {"plugin plan",
     "show when each plugin is launched, and how long it may run",
     "Shows the schedule: the first launch of each plugin, counted from the start of the\n"
     "daemon, its period, the run time that it is guaranteed, and its next launch. \"-\" marks\n"
     "a plugin that the running daemon does not know. Without the daemon's state file the\n"
     "next launch is an estimate, marked \"~\": one period after the newest report, otherwise\n"
     "counted from the start of the daemon.\n"
     "\n"
     "GUARANTEED: a plugin is sent SIGTERM when the next plugin of its own queue is\n"
     "launched, or the first plugin of any queue. In the first round plugins are launched 30\n"
     "seconds apart, so each has at least 30 seconds. In later rounds the plugins of a queue\n"
     "keep this distance, up to some milliseconds, but the queues drift against each other:\n"
     "from the second round on, the first plugin of another queue may be launched at any\n"
     "moment, once in its own period, and end a run early. UNLESS ENDED BY names those\n"
     "plugins.\n",
     "sentrelctl plugin plan",
     kReportOptions,
     {},
     RunPluginPlan},
    {"plugin check",
     "find what keeps plugins from running or reporting",
     "Inspects plugins without running them: whether the daemon's user can execute them and\n"
     "whether other users can change them; their first line, interpreter or processor; their\n"
     "configuration and the values that take effect; report names that share files; and\n"
     "their newest reports. Without a name it inspects all plugins and their directory. A\n"
     "FILE, with a slash in its name, need not be installed yet.\n"
     "\n"
     "Exit status: 0; 1 if it finds an error or fails; 2 if the command line is invalid.\n",
     "sentrelctl plugin check cpu",
     kReportOptions,
     {"[NAME|FILE...]", 0, 1000000, Completes::PluginName, Completes::PluginName},
     nullptr,
     JudgePlugins},
    {"plugin new",
     "create a plugin from a template or a check command",
     "Creates a working plugin that watches the host's open files, and its entry in the\n"
     "configuration store, which says how often it runs; then prints the next steps. With\n"
     "--directory both files are put into DIR, for users who may not write to the host. The\n"
     "source of a C++ plugin is put into the current directory; it must be compiled first\n"
     "and needs no library. Existing files are never overwritten.\n"
     "\n"
     "--wrap creates a plugin from a check that follows the convention of monitoring\n"
     "plugins: a link to /usr/lib/korvex/sentrel/wrap, its configuration in\n"
     "/etc/korvex/sentrel/wrap/, and the entry. The command follows \"--\" and begins with the\n"
     "absolute path of its program:\n"
     "\n"
     "    sentrelctl plugin new root --wrap -- /usr/lib/nagios/plugins/check_disk -w 10% -p /\n",
     "sentrelctl plugin new openfiles --language python --directory /tmp",
     kNewOptions,
     {"NAME [-- COMMAND...]", 1, 1000000},
     RunPluginNew},
}};

}  // namespace

std::span<const Command> PluginCommands() { return kCommands; }

}  // namespace Ctl
