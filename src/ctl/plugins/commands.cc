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
        output << "No plugin is installed; make one with \"sentrelctl plugin new NAME\".\n";
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
    return TellFindings(findings, arguments.options.Has("--json"), output);
}

constexpr std::array<Command, 4> kCommands = {{
    {"plugin list",
     "list all that is in the plugin directory, and why it is in or out",
     "Lists every entry of the plugin directory with what the daemon makes of it at its start:\n"
     "  enabled           it is launched, in the queue and with the period shown\n"
     "  disabled          its configuration says so\n"
     "  no configuration  the store has no entry of its name, or one that cannot be read\n"
     "  directory         it is no plugin\n\n"
     "NEXT and LAST RUN are what the running daemon knows, as long as it runs and this user may\n"
     "read its state file; \"-\" stands for a plugin that it does not know.\n",
     "sentrelctl plugin list",
     kListOptions,
     {},
     RunList},
    {"plugin plan",
     "show when each plugin is launched, and how long it may run",
     "Shows the timetable: after how long each plugin is launched first, counted from the start "
     "of\n"
     "the daemon; how often from then on; how long it may run at least; and in how long the\n"
     "running daemon launches it next. \"-\" stands for a plugin that the daemon does not know.\n"
     "If its state file cannot be read, that is an estimate, marked \"~\": a period after the "
     "newest\n"
     "report, else what the plan says for a daemon that started when this one did.\n\n"
     "What is GUARANTEED, and why: a plugin is sent SIGTERM when the next one of its own queue is\n"
     "launched, or the first one of any queue. In the first round all are launched one after\n"
     "another, 30 s apart, so each has 30 s, the very last one at least. In later rounds those of\n"
     "a queue keep this distance, but for some milliseconds a round, since a period is counted\n"
     "from the end of one launch to the next. So the queues drift against each other, and from "
     "the\n"
     "second round on the first plugin of another queue may come at any moment, once in its own\n"
     "period. UNLESS ENDED BY names those.\n",
     "sentrelctl plugin plan",
     kReportOptions,
     {},
     RunPluginPlan},
    {"plugin check",
     "look for what keeps plugins from running or reporting",
     "Looks at plugins without running them: whether the daemon's user can execute them, and who\n"
     "else could change them; their first line, interpreter or processor; their configuration and\n"
     "what it silently counts as; names that share files with others; their newest reports, and\n"
     "whether there are any. Without a name all are looked at, and their directory. A FILE, with "
     "a\n"
     "slash in its name, need not be installed yet.\n\n"
     "Exit status: 0, 1 when there is an error or the operation failed, 2 when the command line "
     "is\n"
     "wrong.\n",
     "sentrelctl plugin check cpu",
     kReportOptions,
     {"[NAME|FILE...]", 0, 1000000, Completes::PluginName, Completes::PluginName},
     nullptr,
     JudgePlugins},
    {"plugin new",
     "make a plugin to start from, or around a check command",
     "Makes a plugin that works as it is and watches the host's open files, and its entry in the\n"
     "configuration store, which says how often it runs; then tells what to do next. With\n"
     "--directory both are put there, for who may not write to the host. A program in C++ has to\n"
     "be compiled first: its source is put into the current directory, and needs no library.\n"
     "Nothing is overwritten.\n\n"
     "--wrap makes a plugin of a check that follows the convention of monitoring plugins: a link\n"
     "to /usr/lib/korvex/sentrel/wrap, its configuration in /etc/korvex/sentrel/wrap/, and the\n"
     "entry. The command is given after \"--\", its program by an absolute path:\n\n"
     "    sentrelctl plugin new root --wrap -- /usr/lib/nagios/plugins/check_disk -w 10% -p /\n",
     "sentrelctl plugin new openfiles --language python --directory /tmp",
     kNewOptions,
     {"NAME [-- COMMAND...]", 1, 1000000},
     RunPluginNew},
}};

}  // namespace

std::span<const Command> PluginCommands() { return kCommands; }

}  // namespace Ctl
