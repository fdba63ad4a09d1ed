#include "ctl/watch/trends.h"

#include "ctl/reports/metrics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string_view>

namespace Ctl {

namespace {

constexpr std::array<std::string_view, 5> kLevels = {"▁", "▂", "▃", "▅", "▇"};

}  // namespace

Trends::Trends(const HostView& view) {
    for (const ViewedReport& report : view.reports) {
        Add(report);
    }
}

void Trends::Take(const HostChanges& changes, const HostView& view) {
    for (const ReportChange& change : changes.reports) {
        for (const ViewedReport& report : view.reports) {
            if (report.judged.report.name == change.name) {
                Add(report);
            }
        }
    }
}

void Trends::Add(const ViewedReport& report) {
    const std::vector<Metric> metrics = MetricsOf(report.judged.report.unstructured);
    if (metrics.empty()) {
        return;
    }
    Course& course = courses[report.judged.report.name];
    const double value = metrics.front().value;
    if (course.time == report.judged.report.time && course.values.back() == value) {
        return;  // the same report in a new state
    }
    course.time = report.judged.report.time;
    course.values.push_back(value);
    if (course.values.size() > kColumns) {
        course.values.pop_front();
    }
}

std::string Trends::TextOf(const std::string& report) const {
    const auto found = courses.find(report);
    if (found == courses.end()) {
        return "";
    }
    const std::deque<double>& values = found->second.values;
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    std::string text;
    for (const double value : values) {
        const double part = *most > *least ? (value - *least) / (*most - *least) : 0;
        text += kLevels[static_cast<std::size_t>(std::lround(part * (kLevels.size() - 1)))];
    }
    return text;
}

}  // namespace Ctl
