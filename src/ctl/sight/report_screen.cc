#include "ctl/sight/report_screen.h"

#include "ctl/reports/metrics.h"
#include "ctl/show/printable.h"
#include "ctl/show/table.h"
#include "ctl/show/times.h"
#include "ctl/show/words.h"
#include "ctl/sight/metric_view.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <ostream>
#include <string>

namespace Ctl {

namespace {

using OrderedJson = nlohmann::ordered_json;

constexpr std::size_t kBarWidth = 20;

void WriteHead(const ViewedReport& report, std::chrono::system_clock::time_point now,
               std::ostream& output) {
    const JudgedReport& judged = report.judged;
    const std::string state(NameOf(judged.state));
    output << Paint(std::string(TerminalMarkOf(judged.state)), ColourOf(judged.state)) << ' '
           << PrintableText(judged.report.name) << "  " << Paint(state, ColourOf(judged.state))
           << '\n';
    if (!report.reason.empty()) {
        output << "  " << PrintableText(report.reason) << '\n';
    }
    if (judged.silence) {
        output << "  " << Paint(PrintableText(SilenceText(*judged.silence, now)), Colour::Faint)
               << '\n';
    }
    output << "  reported " << AgoText(judged.age) << " (" << judged.report.time << ')';
    if (report.next.time && *report.next.time > now) {
        output << ", next in " << NextText(report.next, now);
    }
    const auto same = std::find_if(report.stored.begin(), report.stored.end(),
                                   [&](const HistoricReport& stored) {
                                       return stored.report.status != judged.report.status;
                                   }) -
                      report.stored.begin();
    if (same > 1) {
        output << "; " << judged.report.status << " for at least "
               << Counted(static_cast<std::size_t>(same), "report");
    }
    output << '\n';
}

void WriteMetrics(const ViewedReport& report, std::ostream& output) {
    const std::vector<Metric> metrics = MetricsOf(report.judged.report.unstructured);
    if (metrics.empty()) {
        return;
    }
    Table table({{"  METRIC"}, {"VALUE", Table::Align::Right}, {""}, {"LIMITS"}});
    for (const Metric& metric : metrics) {
        const MetricView view = ViewOf(metric, report.judged.state);
        const Colour colour = ColourOf(view.verdict);
        const std::string mark(TerminalMarkOf(view.verdict));
        const bool hasLimits = !view.limits.empty();
        table.Add(
            {"  " + metric.name,
             view.value,
             {ShowsUnicode() ? BarText(view, kBarWidth) : "", hasLimits ? colour : Colour::Plain},
             hasLimits ? Table::Cell{mark + " " + view.limits, colour} : Table::Cell{""}});
    }
    output << '\n';
    table.Write(output);
}

std::string ScalarText(const OrderedJson& value) {
    return value.is_string() ? value.get<std::string>()
                             : value.dump(-1, ' ', false, OrderedJson::error_handler_t::replace);
}

bool IsNested(const OrderedJson& value) { return value.is_structured() && !value.empty(); }

// Writes one member per line, members of an object indented below its name.
void WriteMembers(const OrderedJson& object, std::size_t indent, std::ostream& output) {
    std::size_t width = 0;
    for (const auto& [name, value] : object.items()) {
        width = std::max(width, IsNested(value) ? 0 : PrintableText(name).size());
    }
    for (const auto& [name, value] : object.items()) {
        const std::string heading = PrintableText(object.is_array() ? "-" : name);
        output << std::string(indent, ' ') << heading;
        if (IsNested(value)) {
            output << '\n';
            WriteMembers(value, indent + 2, output);
        } else {
            const std::size_t filled = object.is_array() ? heading.size() + 1 : width + 2;
            output << std::string(filled - std::min(filled, heading.size()), ' ')
                   << PrintableText(ScalarText(value)) << '\n';
        }
    }
}

void WriteRest(const ViewedReport& report, std::ostream& output) {
    OrderedJson value = OrderedJson::parse(report.judged.report.unstructured, nullptr, false);
    if (value.is_object()) {
        value.erase("reason");
        value.erase("metrics");
    }
    if (value.is_discarded() || value.is_null() || value.empty()) {
        return;
    }
    output << '\n';
    if (IsNested(value)) {
        WriteMembers(value, 2, output);
    } else {
        output << "  " << PrintableText(ScalarText(value)) << '\n';
    }
}

}  // namespace

void WriteReport(const ViewedReport& report, std::chrono::system_clock::time_point now,
                 std::ostream& output) {
    WriteHead(report, now, output);
    WriteMetrics(report, output);
    WriteRest(report, output);
}

void WriteChanges(const std::vector<HistoricReport>& history, std::ostream& output) {
    std::map<std::string, std::vector<std::string>> lines;
    for (std::size_t index = 0; index < history.size(); ++index) {
        for (const Metric& metric : MetricsOf(history[index].report.unstructured)) {
            std::vector<std::string>& line = lines[metric.name];
            line.resize(history.size(), "-");
            line[index] = ViewOf(metric, ReportState::Ok).value;
        }
    }
    std::vector<Table::Column> columns(1 + history.size(), {"", Table::Align::Right});
    columns.front() = {"METRIC"};
    for (std::size_t index = 0; index < history.size(); ++index) {
        columns[index + 1].heading = history[index].file;
    }
    Table table(std::move(columns));
    bool hasChanges = false;
    for (const auto& [name, values] : lines) {
        if (std::adjacent_find(values.begin(), values.end(), std::not_equal_to<>()) !=
            values.end()) {
            std::vector<Table::Cell> cells = {name};
            cells.insert(cells.end(), values.begin(), values.end());
            table.Add(std::move(cells));
            hasChanges = true;
        }
    }
    if (hasChanges) {
        output << "\nChanged metrics:\n";
        table.Write(output);
    }
}

}  // namespace Ctl
