#include "ctl/sight/list.h"

#include "ctl/command/command_line.h"
#include "ctl/show/failure.h"
#include "ctl/show/json_output.h"
#include "ctl/show/near_names.h"
#include "ctl/show/note.h"
#include "ctl/show/table.h"
#include "ctl/show/times.h"
#include "ctl/show/words.h"
#include "ctl/sight/host_view.h"
#include "ctl/sight/report_json.h"
#include "store/report_name.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <ostream>
#include <utility>

namespace Ctl {

namespace {

constexpr std::array<const char*, 3> kSortKeys = {"name", "age", "state"};
constexpr std::array<const char*, 5> kColumnNames = {"name", "state", "age", "reason", "next"};

constexpr std::array<Option, 10> kOptions = {{
    {"--state", "STATE", "show only reports in this state; may be repeated", Completes::State},
    {"--sort", "KEY", "sort by name, age or state; the worst state first by default",
     Completes::Nothing, kSortKeys},
    {"--reverse", "", "reverse the order"},
    {"--columns", "LIST", "columns to show, from name,state,age,reason,next", Completes::Nothing,
     kColumnNames, /*isList=*/true},
    {"--full", "", "do not truncate reasons on a terminal"},
    kJsonOption,
    kOfflineOption,
    kReportsOption,
    kApiOption,
    kTokenFileOption,
}};

// The words of a comma-separated list; throws if one is not in `known`.
UsageError UnknownWord(const std::string& option, const std::string& word,
                       std::span<const char* const> known) {
    return UsageError("option \"" + option + "\": unknown word \"" + word + "\"",
                      "choose from " + Enumerated({known.begin(), known.end()}));
}

std::vector<std::string> WordsOf(const std::string& option, std::string_view list,
                                 std::span<const char* const> known) {
    std::vector<std::string> words;
    for (;;) {
        const std::size_t end = list.find(',');
        const std::string word(list.substr(0, end));
        if (std::find(known.begin(), known.end(), word) == known.end()) {
            throw UnknownWord(option, word, known);
        }
        words.push_back(word);
        if (end == std::string_view::npos) {
            return words;
        }
        list.remove_prefix(end + 1);
    }
}

void Sort(const std::string& key, std::vector<ViewedReport>& reports) {
    const auto age = [](const ViewedReport& report) {
        return report.judged.age.value_or(std::chrono::seconds::max());
    };
    std::stable_sort(reports.begin(), reports.end(), [&](const auto& one, const auto& other) {
        if (key == "age") {
            return age(one) < age(other);
        }
        return key == "name" && one.judged.report.name < other.judged.report.name;
    });  // they are sorted by state already
}

Table::Cell CellOf(const std::string& column, const ViewedReport& report, const HostView& view) {
    const JudgedReport& judged = report.judged;
    const Colour usual = judged.silence ? Colour::Faint : Colour::Plain;
    if (column == "name") {
        return {judged.report.name, usual};
    }
    if (column == "state") {
        return {std::string(NameOf(judged.state)), judged.silence ? usual : ColourOf(judged.state)};
    }
    if (column == "age") {
        return {judged.age ? AgeText(judged.age) : "-", usual};
    }
    if (column == "reason") {
        return {RemarkOn(report, view.now), usual};
    }
    return {NextText(report.next, view.now), usual};
}

void WriteTable(const HostView& view, const std::vector<std::string>& columns, bool full,
                std::ostream& output) {
    std::vector<Table::Column> heads;
    for (const std::string& column : columns) {
        std::string head = column;
        std::transform(head.begin(), head.end(), head.begin(), Sentrel::AsciiUpper);
        const bool isRight = column == "age" || column == "next";
        heads.push_back({head, isRight ? Table::Align::Right : Table::Align::Left,
                         column == "reason" && !full});
    }
    Table table(std::move(heads));
    for (const ViewedReport& report : view.reports) {
        std::vector<Table::Cell> cells;
        cells.reserve(columns.size());
        for (const std::string& column : columns) {
            cells.push_back(CellOf(column, report, view));
        }
        table.Add(std::move(cells));
    }
    table.Write(output);
    output << '\n' << SummaryText(view.reports) << '\n';
}

// The failure about requested names that do not exist.
Failure FailureOf(const std::vector<std::string>& wanted, const std::vector<std::string>& missing,
                  const Host& host) {
    std::vector<std::string> known;
    for (const JudgedReport& report : ReadJudgedReports(host, {})) {
        known.push_back(report.report.name);
    }
    const std::string otherwise = "see \"sentrelctl list\"";
    return Failure(
        "no report named " + Enumerated(missing, "or"),
        wanted.size() == 1 ? NearNamesAdvice(wanted.front(), known, otherwise) : otherwise);
}

void WriteList(const HostView& view, const GivenOptions& options,
               const std::vector<std::string>& columns, std::ostream& output) {
    if (view.reports.empty()) {
        output << (options.Has("--state") ? "No report matches.\n" : "No reports.\n");
    } else {
        WriteTable(view, columns, options.Has("--full"), output);
    }
}

// One report at a time: all of them together may take hundreds of megabytes.
void WriteListJson(const HostView& view, const std::vector<std::string>& warnings,
                   std::ostream& output) {
    output << R"({"reports":[)";
    const char* separator = "";
    for (const ViewedReport& report : view.reports) {
        output << std::exchange(separator, ",") << JsonText(ToJson(report.judged));
    }
    output << R"(],"warnings":)" << JsonText(warnings) << "}\n";
}

int RunList(const Arguments& arguments, std::ostream& output) {
    const GivenOptions& options = arguments.options;
    std::vector<ReportState> states;
    for (const std::string& name : options.Values("--state")) {
        states.push_back(RequireState("--state", name));
    }
    const std::vector<std::string> columns =
        WordsOf("--columns",
                options.Has("--columns") ? options.Value("--columns") : "name,state,age,reason",
                kColumnNames);
    const std::string sortKey = options.Has("--sort")
                                    ? WordsOf("--sort", options.Value("--sort"), kSortKeys).front()
                                    : "state";
    const bool showsNext = std::find(columns.begin(), columns.end(), "next") != columns.end();
    const Host host = showsNext ? HostInView(options) : HostOf(options);
    HostView view = ViewReports(host, arguments.operands);
    const std::vector<std::string> names = NamesOf(view);
    const std::vector<std::string> missing = MissingNames(names, arguments.operands);
    if (!missing.empty() && names.empty()) {
        throw FailureOf(arguments.operands, missing, host);
    }
    const std::vector<std::string> warnings = WarningsOf(names);
    std::erase_if(view.reports, [&states](const ViewedReport& report) {
        return !states.empty() &&
               std::find(states.begin(), states.end(), report.judged.state) == states.end();
    });
    Sort(sortKey, view.reports);
    if (options.Has("--reverse")) {
        std::reverse(view.reports.begin(), view.reports.end());
    }
    if (options.Has("--json")) {
        WriteListJson(view, warnings, output);
    } else {
        for (const std::string& warning : warnings) {
            NoteOnce("warning: " + warning);
        }
        WriteList(view, options, columns, output);
    }
    if (!missing.empty()) {
        NoteOnce(FailureOf(arguments.operands, missing, host).what());
        return 1;
    }
    return 0;
}

constexpr std::array<Command, 1> kCommands = {{
    {"list",
     "list the newest report of each name, worst first",
     "Lists the newest report of each name, or of the names given (case is ignored), with its\n"
     "state, age and reason, the worst first. On a terminal reasons are cut to its width.\n\n"
     "A state is what the report says (OK, WARNING, ERROR, NONE, UNKNOWN), or\n"
     "  STALE    the report is older than one and a half periods of its plugin, or than its\n"
     "           validFor, or is dated more than a minute in the future\n"
     "  NEVER    an enabled plugin has not reported yet\n"
     "  INVALID  the stored document is not a valid report\n\n"
     "Warns on standard error about names that share files; --json has them in "
     "\"warnings\".\n",
     "sentrelctl list --state ERROR --state STALE",
     kOptions,
     {"[NAME...]", 0, 1000000, Completes::ReportName, Completes::ReportName},
     nullptr,
     RunList},
}};

}  // namespace

std::span<const Command> ListCommands() { return kCommands; }

}  // namespace Ctl
