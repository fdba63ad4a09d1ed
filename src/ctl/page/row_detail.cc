#include "ctl/page/row_detail.h"

#include "ctl/page/html.h"
#include "ctl/reports/metrics.h"
#include "ctl/show/times.h"
#include "ctl/sight/metric_view.h"

#include <nlohmann/json.hpp>

#include <map>
#include <vector>

namespace Ctl {

namespace {

using OrderedJson = nlohmann::ordered_json;

constexpr int kMaxLevels = 8;  // deeper values are shown as JSON

std::string Percent(double fraction) { return ShortNumber(fraction * 100); }

std::string BarHtml(const MetricView& view) {
    std::string html =
        "<svg viewBox=\"0 0 100 10\" preserveAspectRatio=\"none\" "
        "aria-hidden=\"true\"><rect class=\"track\" width=\"100\" height=\"10\"/>"
        "<rect class=\"value\" width=\"" +
        Percent(view.filled) + "\" height=\"10\"/>";
    const auto mark = [&html](const char* name, const std::optional<double>& at) {
        if (at) {
            html += "<rect class=\"" + std::string(name) + "\" x=\"" + Percent(*at) +
                    "\" width=\"0.6\" height=\"10\"/>";
        }
    };
    mark("warning", view.warningAt);
    mark("critical", view.criticalAt);
    return html + "</svg>";
}

std::string MetricsHtml(const ViewedReport& report) {
    std::string rows;
    for (const Metric& metric : MetricsOf(report.judged.report.unstructured)) {
        const MetricView view = ViewOf(metric, report.judged.state);
        rows += "<tr class=\"" + std::string(NameOf(view.verdict)) + "\"><td>" + Html(metric.name) +
                "</td><td class=\"number\">" + Html(view.value) + "</td><td class=\"bar\">" +
                BarHtml(view) + "</td><td>" + Html(view.limits) + "</td></tr>";
    }
    return rows.empty() ? ""
                        : "<div class=\"wide\"><table><thead><tr><th>Metric</th>"
                          "<th class=\"number\">Value</th><th></th><th>Limits</th></tr></thead>"
                          "<tbody>" +
                              rows + "</tbody></table></div>";
}

// Lines of the comparison by heading: one text per stored report, newest first.
using Comparison = std::map<std::string, std::vector<std::string>>;

Comparison CompareMetrics(const std::vector<HistoricReport>& stored) {
    Comparison lines;
    for (std::size_t index = 0; index < stored.size(); ++index) {
        for (const Metric& metric : MetricsOf(stored[index].report.unstructured)) {
            std::vector<std::string>& line = lines[metric.name];
            line.resize(stored.size());
            line[index] = ViewOf(metric, ReportState::Ok).value;
        }
    }
    return lines;
}

// Marks values that differ from those of the report before.
std::string LineHtml(const std::string& heading, const std::vector<std::string>& texts) {
    std::string html = "<tr><th scope=\"row\">" + Html(heading) + "</th>";
    for (std::size_t index = 0; index < texts.size(); ++index) {
        const bool differs = index + 1 < texts.size() && texts[index] != texts[index + 1];
        html += std::string("<td") + (differs ? " class=\"differs\">" : ">") + Html(texts[index]) +
                "</td>";
    }
    return html + "</tr>";
}

std::string HistoryHtml(const std::vector<HistoricReport>& stored) {
    if (stored.size() < 2) {
        return "";
    }
    std::string heads;
    std::vector<std::string> states;
    std::vector<std::string> reasons;
    for (const HistoricReport& one : stored) {
        const bool isValid = one.fault.empty();
        heads += "<th scope=\"col\">" + Html(one.stored) + "</th>";
        states.push_back(isValid ? one.report.status : "INVALID");
        reasons.push_back(isValid ? ReasonOf(one.report.unstructured) : one.fault);
    }
    std::string rows = LineHtml("State", states) + LineHtml("Reason", reasons);
    for (const auto& [name, values] : CompareMetrics(stored)) {
        rows += LineHtml(name, values);
    }
    return "<div class=\"wide\"><table><caption class=\"visually-hidden\">Stored reports, newest "
           "first</caption><thead><tr><th>Stored</th>" +
           heads + "</tr></thead><tbody>" + rows + "</tbody></table></div>";
}

std::string ValueHtml(const OrderedJson& value, int level);

std::string MembersHtml(const OrderedJson& object, int level) {
    std::string html = "<dl class=\"rest\">";
    for (const auto& [name, value] : object.items()) {
        html += "<dt>" + Html(name) + "</dt><dd>" + ValueHtml(value, level) + "</dd>";
    }
    return html + "</dl>";
}

std::string ValueHtml(const OrderedJson& value, int level) {
    if (value.is_string()) {
        return Html(value.get<std::string>());
    }
    if (value.is_object() && !value.empty() && level < kMaxLevels) {
        return MembersHtml(value, level + 1);
    }
    return Html(value.dump(-1, ' ', false, OrderedJson::error_handler_t::replace));
}

std::string RestHtml(const std::string& unstructured) {
    OrderedJson value = OrderedJson::parse(unstructured, nullptr, false);
    if (value.is_object()) {
        value.erase("reason");
        value.erase("metrics");
    }
    return value.is_discarded() || value.empty() ? "" : ValueHtml(value, 0);
}

}  // namespace

std::string RowDetailHtml(const ViewedReport& report) {
    const std::string html = MetricsHtml(report) + HistoryHtml(report.stored) +
                             RestHtml(report.judged.report.unstructured);
    return html.empty() ? "<p class=\"quiet\">Nothing more is known.</p>" : html;
}

}  // namespace Ctl
