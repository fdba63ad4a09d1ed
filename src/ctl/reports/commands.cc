#include "ctl/reports/commands.h"

#include "ctl/api/client.h"
#include "ctl/command/command_line.h"
#include "ctl/host/host.h"
#include "ctl/reports/history.h"
#include "ctl/reports/metrics.h"
#include "ctl/reports/source.h"
#include "ctl/reports/state.h"
#include "ctl/show/failure.h"
#include "ctl/show/json_output.h"
#include "ctl/show/note.h"
#include "ctl/show/printable.h"
#include "ctl/show/table.h"
#include "ctl/show/terminal.h"
#include "ctl/show/times.h"
#include "ctl/show/words.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <ostream>

namespace Ctl {

namespace {

using OrderedJson = nlohmann::ordered_json;

constexpr std::array<Option, 7> kListOptions = {{
    {"--full", "", "show the reason of each state too"},
    {"--state", "STATE", "show reports in this state only; may be repeated", Completes::State},
    kJsonOption,
    kOfflineOption,
    kReportsOption,
    kApiOption,
    kTokenFileOption,
}};
constexpr std::array<Option, 5> kGetOptions = {
    {kJsonOption, kOfflineOption, kReportsOption, kApiOption, kTokenFileOption}};
constexpr std::array<Option, 2> kHistoryOptions = {{kJsonOption, kReportsOption}};
constexpr std::array<Option, 2> kCallOptions = {{kApiOption, kTokenFileOption}};

ReportState WantedState(const std::string& name) {
    if (const std::optional<ReportState> state = ParseState(name)) {
        return *state;
    }
    std::vector<std::string> known;
    for (const ReportState state : kReportStates) {
        known.emplace_back(NameOf(state));
    }
    throw UsageError("option \"--state\": \"" + name + "\" is no state",
                     "there are " + Enumerated(known));
}

std::vector<ReportState> WantedStates(const std::vector<std::string>& names) {
    std::vector<ReportState> states;
    for (const std::string& name : names) {
        states.push_back(WantedState(name));
    }
    return states;
}

// The members that the API gives, and what was judged.
OrderedJson ToJson(const JudgedReport& row) {
    OrderedJson object = {{"name", row.report.name}, {"state", NameOf(row.state)}};
    if (row.state != ReportState::Never) {
        object["time"] = row.report.time;
    }
    if (row.age) {
        object["ageSeconds"] = row.age->count();
        object["status"] = row.report.status;
        object["unstructured"] = row.report.unstructured;
    }
    return object;
}

Colour ColourOf(ReportState state) {
    switch (state) {
        case ReportState::Ok:
            return Colour::Green;
        case ReportState::Warning:
        case ReportState::Stale:
            return Colour::Yellow;
        case ReportState::Error:
        case ReportState::Invalid:
            return Colour::Red;
        default:
            return Colour::Plain;
    }
}

void WriteTable(const std::vector<JudgedReport>& rows, bool full, std::ostream& output) {
    std::vector<Table::Column> columns = {{"NAME"}, {"STATE"}, {"AGE", Table::Align::Right}};
    if (full) {
        columns.push_back({"REASON"});
    }
    Table table(std::move(columns));
    for (const JudgedReport& row : rows) {
        std::vector<Table::Cell> cells = {row.report.name,
                                          {std::string(NameOf(row.state)), ColourOf(row.state)},
                                          row.age ? AgeText(row.age) : "-"};
        if (full) {
            cells.emplace_back(ReasonOf(row));
        }
        table.Add(std::move(cells));
    }
    table.Write(output);
}

int RunList(const Arguments& arguments, std::ostream& output) {
    const std::vector<ReportState> states = WantedStates(arguments.options.Values("--state"));
    std::vector<JudgedReport> rows =
        ReadJudgedReports(HostOf(arguments.options), arguments.operands);
    const std::vector<std::string> missing = MissingNames(rows, arguments.operands);
    const Failure failure("no report named " + Enumerated(missing, "or"),
                          "\"sentrelctl list\" names those that are stored");
    if (!missing.empty() && rows.empty()) {
        throw failure;
    }
    const std::vector<std::string> warnings = WarningsOf(rows);
    std::erase_if(rows, [&states](const JudgedReport& row) {
        return !states.empty() &&
               std::find(states.begin(), states.end(), row.state) == states.end();
    });
    if (arguments.options.Has("--json")) {
        OrderedJson reports = OrderedJson::array();
        for (const JudgedReport& row : rows) {
            reports.push_back(ToJson(row));
        }
        WriteJson({{"reports", std::move(reports)}, {"warnings", warnings}}, output);
    } else {
        for (const std::string& warning : warnings) {
            NoteOnce("warning: " + warning);
        }
        if (rows.empty()) {
            output << (states.empty() ? "No reports.\n" : "No such report is stored.\n");
        } else {
            WriteTable(rows, arguments.options.Has("--full"), output);
        }
    }
    if (!missing.empty()) {
        NoteOnce(failure.what());
        return 1;
    }
    return 0;
}

void WriteReport(const JudgedReport& row, std::ostream& output) {
    Table facts({{}, {}});
    facts.Add({"Name", row.report.name});
    facts.Add(
        {"State", std::string(NameOf(row.state)) +
                      (row.state == ReportState::Stale ? ", reported " + row.report.status : "")});
    facts.Add({"Time", row.report.time});
    facts.Add({"Age", AgeText(row.age)});
    facts.Write(output);
    const OrderedJson unstructured = OrderedJson::parse(row.report.unstructured, nullptr, false);
    const std::string whole =
        unstructured.dump(2, ' ', false, OrderedJson::error_handler_t::replace);
    output << '\n' << PrintableLines(whole) << '\n';
}

void RunGet(const Arguments& arguments, std::ostream& output) {
    const std::string& name = arguments.operands.front();
    const std::vector<JudgedReport> rows = ReadJudgedReports(HostOf(arguments.options), {name});
    if (rows.empty()) {
        throw Failure("there is no report \"" + name + "\"",
                      "\"sentrelctl list\" names those that are stored");
    }
    const JudgedReport& row = rows.front();
    if (row.state == ReportState::Never) {
        throw Failure("the plugin \"" + name + "\" has not reported yet",
                      "wait for its next launch, or see what "
                      "the daemon's log says of it");
    }
    if (row.state == ReportState::Invalid) {
        throw Failure("the report \"" + name + "\" cannot be read",
                      "\"sentrelctl history " + name + "\" and the daemon's log say why");
    }
    if (arguments.options.Has("--json")) {
        WriteJson(ToJson(row), output);
    } else {
        WriteReport(row, output);
    }
}

void RunHistory(const Arguments& arguments, std::ostream& output) {
    const std::string& name = arguments.operands.front();
    const std::string directory = RequireReportDirectory(HostOf(arguments.options));
    const std::vector<HistoricReport> history = ReadHistory(directory, name);
    if (history.empty()) {
        throw Failure("no report \"" + name + "\" is stored in " + directory,
                      "name the daemon's directory with --reports, or see "
                      "\"sentrelctl list\"");
    }
    const auto now = std::chrono::system_clock::now();
    OrderedJson reports = OrderedJson::array();
    Table table({{"FILE"}, {"STATE"}, {"AGE", Table::Align::Right}, {"REASON"}});
    for (const HistoricReport& row : history) {
        const bool isValid = row.fault.empty();
        const std::string state = isValid ? row.report.status : "INVALID";
        OrderedJson object = {{"name", row.report.name},
                              {"file", row.file},
                              {"stored", row.stored},
                              {"isNewest", row.isNewest},
                              {"state", state}};
        if (isValid) {
            object["time"] = row.report.time;
            object["unstructured"] = row.report.unstructured;
        } else {
            object["fault"] = row.fault;
        }
        reports.push_back(std::move(object));
        table.Add({row.file + (row.isNewest ? " *" : ""), state,
                   AgeText(AgeOf(isValid ? row.report.time : row.stored, now)),
                   isValid ? ReasonOf(row.report.unstructured) : row.fault});
    }
    if (arguments.options.Has("--json")) {
        WriteJson({{"reports", std::move(reports)}}, output);
    } else {
        table.Write(output);
    }
}

void RunCall(const Arguments& arguments, std::ostream& output) {
    OrderedJson parameters = OrderedJson::object();
    if (arguments.operands.size() == 2) {
        parameters = OrderedJson::parse(arguments.operands[1], nullptr, false);
        if (!parameters.is_object()) {
            throw Failure("the parameters are no JSON object",
                          "write them as "
                          "'{\"name\": \"value\"}'");
        }
    }
    WriteJson(ConnectApi(HostOf(arguments.options)).Call(arguments.operands.front(), parameters),
              output);
}

constexpr std::array<Command, 4> kCommands = {{
    {"list",
     "list the newest report of each name, with its state",
     "Lists the newest report of each name, or of the names given (their case does not matter),\n"
     "with its state and age. --full adds the reason that the report gives for its state.\n\n"
     "A state is what the report says (OK, WARNING, ERROR, NONE, UNKNOWN), or\n"
     "  STALE    it is older than one and a half periods of its plugin, or more than a minute in\n"
     "           the future\n"
     "  NEVER    an enabled plugin has no report yet\n"
     "  INVALID  there is a report that cannot be read\n\n"
     "Names that share files are warned of on standard error, with --json in \"warnings\".\n",
     "sentrelctl list --full --state ERROR --state STALE",
     kListOptions,
     {"[NAME...]", 0, 1000000, Completes::ReportName, Completes::ReportName},
     nullptr,
     RunList},
    {"get",
     "show one report whole",
     "Shows the newest report of a name: its state, its time and all that it tells.\n",
     "sentrelctl get memory",
     kGetOptions,
     {"NAME", 1, 1, Completes::ReportName},
     RunGet},
    {"history",
     "show the stored reports of a name",
     "Shows the reports of a name that are stored, at most three, newest first; \"*\" marks the "
     "one\n"
     "that is published. Reads the report directory, so no daemon is needed.\n",
     "sentrelctl history memory",
     kHistoryOptions,
     {"NAME", 1, 1, Completes::ReportName},
     RunHistory},
    {"call",
     "call any operation of the API",
     "Calls an operation of the API by its full name, with its parameters as a JSON object, and\n"
     "prints its result as JSON. The introspection services tell which operations there are.\n",
     "sentrelctl call com.korvex.quon.std.introspection.service.list",
     kCallOptions,
     {"METHOD [JSON]", 1, 2, Completes::Operation},
     RunCall},
}};

}  // namespace

std::span<const Command> ReportCommands() { return kCommands; }

}  // namespace Ctl
