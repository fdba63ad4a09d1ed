// Compares a metric with its limits, and draws it as a bar.
#pragma once

#include "ctl/reports/metrics.h"
#include "ctl/reports/state.h"

#include <cstddef>
#include <optional>
#include <string>

namespace Ctl {

// Positions are fractions of the bar, 0 to 1. The bar spans 0 to the largest of value and limits,
// and to 100 for percentages.
struct MetricView {
    std::string value;   // "61.4 %"
    std::string limits;  // "warning 80, critical 90", "critical below 2"; empty without limits
    ReportState verdict = ReportState::Ok;  // Ok, Warning or Error, by the limits alone
    double filled = 0;
    std::optional<double> warningAt;
    std::optional<double> criticalAt;
};

// Low values are bad if the critical limit is below the warning, or if a single limit is reached
// although the report's `state` is better than that limit.
MetricView ViewOf(const Metric& metric, ReportState state);

// `number` with at most four significant digits, but always with its whole part.
std::string ShortNumber(double number);

// The bar in `width` columns, filled to an eighth of a column, with marks at the limits.
std::string BarText(const MetricView& view, std::size_t width);

}  // namespace Ctl
