#include "ctl/sight/get.h"

#include "ctl/reports/metrics.h"
#include "ctl/show/failure.h"
#include "ctl/show/json_output.h"
#include "ctl/show/near_names.h"
#include "ctl/show/table.h"
#include "ctl/show/times.h"
#include "ctl/sight/host_view.h"
#include "ctl/sight/report_json.h"
#include "ctl/sight/report_screen.h"
#include "store/report_name.h"

#include <nlohmann/json.hpp>

#include <array>
#include <filesystem>
#include <ostream>

namespace Ctl {

namespace {

using OrderedJson = nlohmann::ordered_json;

constexpr std::array<Option, 5> kGetOptions = {
    {kJsonOption, kOfflineOption, kReportsOption, kApiOption, kTokenFileOption}};
constexpr std::array<Option, 2> kHistoryOptions = {{kJsonOption, kReportsOption}};

[[noreturn]] void ThrowNotReported(const std::string& plugin) {
    throw Failure("the plugin \"" + plugin + "\" has not reported yet",
                  "wait for its next run, or see \"sentrelctl plugin check " + plugin + "\"");
}

// The report with that name; throws if there is none that can be shown.
const ViewedReport& RequireReport(const std::string& name, const HostView& view, const Host& host) {
    for (const ViewedReport& report : view.reports) {
        if (!Sentrel::IsSameReportName(report.judged.report.name, name)) {
            continue;
        }
        if (report.judged.state == ReportState::Never) {
            ThrowNotReported(report.judged.report.name);
        }
        if (report.judged.state == ReportState::Invalid) {
            throw Failure("cannot read the report \"" + name + "\"",
                          "\"sentrelctl history " + name + "\" and the daemon's log say why");
        }
        return report;
    }
    std::vector<std::string> known;
    for (const JudgedReport& report : ReadJudgedReports(host, {})) {
        known.push_back(report.report.name);
    }
    throw Failure("no report named \"" + name + "\"",
                  NearNamesAdvice(name, known, "see \"sentrelctl list\""));
}

void RunGet(const Arguments& arguments, std::ostream& output) {
    const bool asJson = arguments.options.Has("--json");
    const Host host = asJson ? HostOf(arguments.options) : HostInView(arguments.options);
    HostView view = ViewReports(host, arguments.operands);
    if (!asJson) {
        AddStoredReports(host, view);
    }
    std::vector<const ViewedReport*> reports;
    for (const std::string& name : arguments.operands) {
        reports.push_back(&RequireReport(name, view, host));
    }
    if (!asJson) {
        for (const ViewedReport* report : reports) {
            output << (report == reports.front() ? "" : "\n");
            WriteReport(*report, view.now, output);
        }
    } else if (reports.size() == 1) {
        WriteJson(ToDecodedJson(reports.front()->judged), output);
    } else {
        OrderedJson documents = OrderedJson::array();
        for (const ViewedReport* report : reports) {
            documents.push_back(ToDecodedJson(report->judged));
        }
        WriteJson({{"reports", std::move(documents)}}, output);
    }
}

OrderedJson ToJson(const HistoricReport& row) {
    const bool isValid = row.fault.empty();
    OrderedJson object = {{"name", row.report.name},
                          {"file", row.file},
                          {"stored", row.stored},
                          {"isNewest", row.isNewest},
                          {"state", isValid ? row.report.status : "INVALID"}};
    if (isValid) {
        object["time"] = row.report.time;
        object["unstructured"] = row.report.unstructured;
    } else {
        object["fault"] = row.fault;
    }
    return object;
}

void WriteHistory(const std::vector<HistoricReport>& history, std::ostream& output) {
    const auto now = std::chrono::system_clock::now();
    Table table(
        {{"FILE"}, {"STATE"}, {"AGE", Table::Align::Right}, {.heading = "REASON", .isCut = true}});
    for (const HistoricReport& row : history) {
        const bool isValid = row.fault.empty();
        const ReportState state = isValid
                                      ? ParseState(row.report.status).value_or(ReportState::Unknown)
                                      : ReportState::Invalid;
        table.Add({row.file + (row.isNewest ? " *" : ""),
                   {std::string(NameOf(state)), ColourOf(state)},
                   AgeText(AgeOf(isValid ? row.report.time : row.stored, now)),
                   isValid ? ReasonOf(row.report.unstructured) : row.fault});
    }
    table.Write(output);
    WriteChanges(history, output);
}

void RunHistory(const Arguments& arguments, std::ostream& output) {
    const std::string& name = arguments.operands.front();
    const std::string directory = RequireReportDirectory(HostOf(arguments.options));
    const std::vector<HistoricReport> history = ReadHistory(directory, name);
    if (history.empty()) {
        for (const PluginPeriod& plugin : ReadPluginPeriods()) {
            if (Sentrel::IsSameReportName(plugin.name, name)) {
                ThrowNotReported(plugin.name);
            }
        }
        const std::string link = directory + Sentrel::LinkName(name);
        if (std::filesystem::is_symlink(link)) {
            throw Failure(link + " does not lead to a stored report of that name",
                          "remove it; the next post of that name makes a new one");
        }
        throw Failure("no report named \"" + name + "\" in " + directory,
                      "name the daemon's directory with --reports, or see \"sentrelctl list\"");
    }
    if (!arguments.options.Has("--json")) {
        WriteHistory(history, output);
        return;
    }
    OrderedJson reports = OrderedJson::array();
    for (const HistoricReport& row : history) {
        reports.push_back(ToJson(row));
    }
    WriteJson({{"reports", std::move(reports)}}, output);
}

constexpr std::array<Command, 2> kCommands = {{
    {"get",
     "show reports in full",
     "Shows the newest report of each name given: its state, reason and age, its metrics\n"
     "against their limits, and everything else that it holds. --json prints one object, or\n"
     "{\"reports\": [...]} for several names.\n",
     "sentrelctl get memory",
     kGetOptions,
     {"NAME...", 1, 1000000, Completes::ReportName, Completes::ReportName},
     RunGet},
    {"history",
     "show the stored reports of a name",
     "Shows the stored reports of a name, at most three, newest first, and which metrics changed\n"
     "from one to the next; \"*\" marks the published one. Reads the report directory, so it "
     "needs\n"
     "no daemon.\n",
     "sentrelctl history memory",
     kHistoryOptions,
     {"NAME", 1, 1, Completes::ReportName},
     RunHistory},
}};

}  // namespace

std::span<const Command> GetCommands() { return kCommands; }

}  // namespace Ctl
