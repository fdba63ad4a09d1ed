// The metrics of a report, from the member "metrics" of "unstructured":
//
//   "metrics": {"mounts": 4, "space_free:/var": {"value": 8.2, "unit": "%", "warning": 10}}
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace Ctl {

struct Metric {
    std::string name;
    double value = 0;
    std::string unit = {};  // such as "%"; empty for a plain number
    std::optional<double> warning = {};
    std::optional<double> critical = {};
};

// The metrics of a report, in byte order of their names; skips members that are not metrics.
// `unstructured` is JSON text.
std::vector<Metric> MetricsOf(const std::string& unstructured);

// The report's reason for its state; empty if it has none.
std::string ReasonOf(const std::string& unstructured);

// The member "validFor", for how long the report is valid, in whole seconds; nothing unless it is a
// positive number.
std::optional<std::chrono::seconds> ValidForOf(const std::string& unstructured);

// The shortest decimal text that reads back as this number, without an exponent.
std::string DecimalText(double number);

}  // namespace Ctl
