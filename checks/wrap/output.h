// The output of a check that follows the monitoring-plugins convention:
//
//   TEXT [| PERFORMANCE DATA]
//   LONG TEXT ...
//   LONG TEXT [| PERFORMANCE DATA
//   PERFORMANCE DATA ...]
#pragma once

#include "sentrel_check/report.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Wrap {

struct CheckOutput {
    std::string text;      // the first line
    std::string longText;  // the lines after it
    // 'label'=value[unit];[warning];[critical];[min];[max]; the first of each label; leaves
    // out values that are not numbers.
    std::vector<SentrelCheck::Metric> metrics;
};

CheckOutput ParseOutput(std::string_view output);

// The end of a range that `value` would cross: "10" and "~:10" give 10, "10:" gives 10; "10:20"
// and "@10:20" give the nearer end. Nothing if the text is not a range.
std::optional<double> LimitOf(std::string_view range, double value);

}  // namespace Wrap
