#include "ctl/reports/metrics.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <utility>

namespace Ctl {

namespace {

using Json = nlohmann::json;

std::optional<double> NumberOf(const Json& object, const char* member) {
    const auto found = object.find(member);
    return found != object.end() && found->is_number() ? std::optional(found->get<double>())
                                                       : std::nullopt;
}

std::string TextMember(const Json& object, const char* member) {
    const auto found = object.find(member);
    return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

// Nothing if `value` is not a metric.
std::optional<Metric> ToMetric(const std::string& name, const Json& value) {
    if (value.is_number()) {
        return Metric{.name = name, .value = value.get<double>()};
    }
    const std::optional<double> number =
        value.is_object() ? NumberOf(value, "value") : std::nullopt;
    if (!number) {
        return std::nullopt;
    }
    return Metric{.name = name,
                  .value = *number,
                  .unit = TextMember(value, "unit"),
                  .warning = NumberOf(value, "warning"),
                  .critical = NumberOf(value, "critical")};
}

}  // namespace

std::vector<Metric> MetricsOf(const std::string& unstructured) {
    const Json document = Json::parse(unstructured, nullptr, false);
    std::vector<Metric> metrics;
    if (!document.is_object() || !document.contains("metrics") ||
        !document["metrics"].is_object()) {
        return metrics;
    }
    for (const auto& [name, value] : document["metrics"].items()) {
        if (std::optional<Metric> metric = ToMetric(name, value)) {
            metrics.push_back(std::move(*metric));
        }
    }
    return metrics;
}

std::string ReasonOf(const std::string& unstructured) {
    const Json document = Json::parse(unstructured, nullptr, false);
    return document.is_object() ? TextMember(document, "reason") : "";
}

std::optional<std::chrono::seconds> ValidForOf(const std::string& unstructured) {
    constexpr double kMost = 1e9;  // seconds: some thirty years
    if (unstructured.find("\"validFor\"") == std::string::npos) {
        return std::nullopt;  // most reports lack it, so nothing is parsed
    }
    const Json document = Json::parse(unstructured, nullptr, false);
    const auto number = document.is_object() ? NumberOf(document, "validFor") : std::nullopt;
    if (!number || *number <= 0) {
        return std::nullopt;
    }
    return std::chrono::seconds(static_cast<std::int64_t>(std::min(*number, kMost)));
}

std::string DecimalText(double number) {
    std::array<char, 1100> text{};  // more digits than any double needs
    const auto result =
        std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
    return {text.data(), result.ptr};
}

}  // namespace Ctl
