#include "support/report_contract.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>

namespace Test {

namespace {

using nlohmann::json;

// "2024-03-05T14:07:09" and a zone that means UTC.
bool IsUtcTime(std::string_view text) {
    constexpr std::string_view kForm = "dddd-dd-ddTdd:dd:dd";
    const std::string_view zone = text.substr(std::min(kForm.size(), text.size()));
    return (zone == "+00:00" || zone == "Z") &&
           std::equal(kForm.begin(), kForm.end(), text.begin(), [](char wanted, char found) {
               return wanted == 'd' ? std::isdigit(static_cast<unsigned char>(found)) != 0
                                    : wanted == found;
           });
}

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
            return std::string("the metric ").append(name).append(" has a bad ").append(member);
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
        if (structured.at("name").get<std::string>() != name) {
            return "it is named otherwise";
        }
        if (!IsUtcTime(structured.at("time").get<std::string>())) {
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
