#include "checks/wrap/output.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace Wrap {

namespace {

using SentrelCheck::Metric;

constexpr std::string_view kBlanks = " \t\n\r";
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Removes and returns the text up to the separator, and drops the separator.
std::string_view TakeUntil(std::string_view& text, char separator) {
    const std::size_t end = std::min(text.find(separator), text.size());
    const std::string_view taken = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return taken;
}

std::string_view Trim(std::string_view text) {
    const std::size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
    return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

// Removes and returns the finite number at the start of `text`.
std::optional<double> TakeNumber(std::string_view& text) {
    double number = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || !std::isfinite(number)) {
        return std::nullopt;
    }
    text.remove_prefix(static_cast<std::size_t>(rest - text.data()));
    return number;
}

std::optional<double> ParseNumber(std::string_view text) {
    const std::optional<double> number = TakeNumber(text);
    return text.empty() ? number : std::nullopt;
}

// A label up to its "=": within quotes it may hold blanks, and two quotes stand for one.
std::string TakeLabel(std::string_view& data) {
    std::string label;
    if (!data.starts_with('\'')) {
        return std::string(TakeUntil(data, '='));
    }
    data.remove_prefix(1);
    while (!data.empty()) {
        label += TakeUntil(data, '\'');
        if (!data.starts_with('\'')) {
            break;
        }
        label += '\'';
        data.remove_prefix(1);
    }
    if (data.starts_with('=')) {
        data.remove_prefix(1);
    }
    return label;
}

std::optional<Metric> ParseMetric(std::string label, std::string_view fields) {
    std::string_view unit = TakeUntil(fields, ';');
    const std::optional<double> value = TakeNumber(unit);
    if (label.empty() || !value) {
        return std::nullopt;  // also for "U", a value that the check could not determine
    }
    Metric metric{std::move(label), *value, unit == "c" ? "" : std::string(unit)};
    metric.limits.warning = LimitOf(TakeUntil(fields, ';'), *value);
    metric.limits.critical = LimitOf(TakeUntil(fields, ';'), *value);
    metric.min = ParseNumber(TakeUntil(fields, ';'));
    metric.max = ParseNumber(TakeUntil(fields, ';'));
    return metric;
}

void ParseMetrics(std::string_view data, std::vector<Metric>& metrics) {
    for (data = Trim(data); !data.empty(); data = Trim(data)) {
        std::string label = TakeLabel(data);
        const std::size_t end = std::min(data.find_first_of(kBlanks), data.size());
        std::optional<Metric> metric = ParseMetric(std::move(label), data.substr(0, end));
        data.remove_prefix(end);
        const auto isSame = [&metric](const Metric& other) { return other.name == metric->name; };
        if (metric && std::none_of(metrics.begin(), metrics.end(), isSame)) {
            metrics.push_back(*std::move(metric));
        }
    }
}

}  // namespace

std::optional<double> LimitOf(std::string_view range, double value) {
    range = range.substr(range.starts_with('@') ? 1 : 0);
    if (range.empty()) {
        return std::nullopt;
    }
    const bool hasStart = range.find(':') != std::string_view::npos;
    const std::string_view first = hasStart ? TakeUntil(range, ':') : "";
    const std::optional<double> start = first == "~"    ? -kInfinity
                                        : first.empty() ? 0
                                                        : ParseNumber(first);
    const std::optional<double> end = range.empty() ? kInfinity : ParseNumber(range);
    if (!start || !end || (std::isinf(*start) && std::isinf(*end))) {
        return std::nullopt;
    }
    // A value that is never negative cannot cross the 0 at which most ranges start.
    const bool endCounts =
        std::isinf(*start) ||
        (!std::isinf(*end) && ((*start == 0 && value >= 0) || value - *start > *end - value));
    return endCounts ? end : start;
}

CheckOutput ParseOutput(std::string_view output) {
    CheckOutput parsed;
    std::string_view firstLine = TakeUntil(output, '\n');
    parsed.text = Trim(TakeUntil(firstLine, '|'));
    parsed.longText = Trim(TakeUntil(output, '|'));
    ParseMetrics(firstLine, parsed.metrics);
    ParseMetrics(output, parsed.metrics);
    return parsed;
}

}  // namespace Wrap
