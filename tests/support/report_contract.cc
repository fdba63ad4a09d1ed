#include "support/report_contract.h"

#include <nlohmann/json.hpp>

#include <regex>

namespace Test {

namespace {

using nlohmann::json;

std::string MetricFault(const std::string& name, const json& metric) {
    if (metric.is_number()) {
        return "";
    }
    if (!metric.is_object() || !metric.contains("value")) {
        return "the metric " + name + " has no value";
    }
    for (const auto& [member, value] : metric.items()) {
        const bool isText = member == "unit";
        const bool isNumber = member == "value" || member == "warning" || member == "critical";
        if (!(isText && value.is_string()) && !(isNumber && value.is_number())) {
            return "the metric " + name + " has a bad " + member;
        }
    }
    return "";
}

}  // namespace

std::string ContractFault(std::string_view document, std::string_view name) {
    try {
        const json report = json::parse(document);
        const json& structured = report.at("structured");
        const json& unstructured = report.at("unstructured");
        const std::regex utcTime("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d(\\+00:00|Z)");
        if (structured.at("name").get<std::string>() != name) {
            return "it is named otherwise";
        }
        if (!std::regex_match(structured.at("time").get<std::string>(), utcTime)) {
            return "its time is not in UTC with a zone";
        }
        const json& status = structured.at("status");
        if (!status.is_number_integer() || status < 0 || status > 4) {
            return "its status is no code";
        }
        if (unstructured.at("reason").get<std::string>().empty()) {
            return "its reason is empty";
        }
        if (!unstructured.at("metrics").is_object()) {
            return "its metrics are no object";
        }
        for (const auto& [metricName, metric] : unstructured.at("metrics").items()) {
            if (std::string fault = MetricFault(metricName, metric); !fault.empty()) {
                return fault;
            }
        }
        return "";
    } catch (const json::exception& problem) {
        return problem.what();
    }
}

int StatusOf(std::string_view document) {
    return json::parse(document).at("structured").at("status").get<int>();
}

std::string ReasonOf(std::string_view document) {
    return json::parse(document).at("unstructured").at("reason").get<std::string>();
}

}  // namespace Test
