#include "ctl/reports/metrics_text.h"

#include "ctl/reports/metrics.h"
#include "ctl/show/printable.h"

#include <set>
#include <string_view>
#include <utility>

namespace Ctl {

namespace {

// A label's value between its quotes.
std::string Escape(std::string_view value) {
    std::string escaped;
    for (const char byte : PrintableLines(value)) {
        if (byte == '\n') {
            escaped += "\\n";
            continue;
        }
        if (byte == '\\' || byte == '"') {
            escaped += '\\';
        }
        escaped += byte;
    }
    return escaped;
}

// One metric family; nothing when it has no samples.
class Family {
  public:
    Family(std::string name, std::string_view unit, std::string_view help) : name(std::move(name)) {
        head = "# TYPE " + this->name + " gauge\n";
        head += unit.empty() ? "" : "# UNIT " + this->name + " " + std::string(unit) + "\n";
        head += "# HELP " + this->name + " " + std::string(help) + "\n";
    }

    // `labels`: without the braces. Of values that only differ in what cannot be shown the first
    // counts: parsers refuse the whole text when labels repeat.
    void Add(const std::string& labels, const std::string& value) {
        if (known.insert(labels).second) {
            samples += name + "{" + labels + "} " + value + "\n";
        }
    }
    std::string Text() const { return samples.empty() ? "" : head + samples; }

  private:
    std::string name;
    std::string head;
    std::string samples;
    std::set<std::string> known;  // labels
};

std::string ReportLabel(const JudgedReport& row) {
    return "report=\"" + Escape(row.report.name) + "\"";
}

std::string StatesText(const std::vector<JudgedReport>& reports) {
    Family states("sentrel_report_state", "", "Whether the newest report is in this state.");
    for (const JudgedReport& row : reports) {
        for (const ReportState state : kReportStates) {
            states.Add(ReportLabel(row) + ",state=\"" + std::string(NameOf(state)) + "\"",
                       state == row.state ? "1" : "0");
        }
    }
    return states.Text();
}

std::string AgesText(const std::vector<JudgedReport>& reports) {
    Family ages("sentrel_report_age_seconds", "seconds", "The time since the report was made.");
    for (const JudgedReport& row : reports) {
        if (row.age) {
            ages.Add(ReportLabel(row), std::to_string(row.age->count()));
        }
    }
    return ages.Text();
}

std::string NumbersText(const std::vector<JudgedReport>& reports) {
    Family values("sentrel_report_metric", "", "A number that the report tells.");
    Family warnings("sentrel_report_metric_warning", "", "The limit from which it is a warning.");
    Family criticals("sentrel_report_metric_critical", "", "The limit from which it is an error.");
    for (const JudgedReport& row : reports) {
        for (const Metric& metric : MetricsOf(row.report.unstructured)) {
            const std::string labels = ReportLabel(row) + ",metric=\"" + Escape(metric.name) +
                                       "\",unit=\"" + Escape(metric.unit) + "\"";
            values.Add(labels, DecimalText(metric.value));
            if (metric.warning) {
                warnings.Add(labels, DecimalText(*metric.warning));
            }
            if (metric.critical) {
                criticals.Add(labels, DecimalText(*metric.critical));
            }
        }
    }
    return values.Text() + warnings.Text() + criticals.Text();
}

}  // namespace

std::string MetricsText(const std::vector<JudgedReport>& reports) {
    return StatesText(reports) + AgesText(reports) + NumbersText(reports) + "# EOF\n";
}

}  // namespace Ctl
