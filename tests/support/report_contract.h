// What every report of a shipped check must be like. Who includes this includes
// ctl/post/check.h, too.
#pragma once

#include "ctl/post/check.h"

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace Test {

// "structured"."status", and "unstructured"."reason". Throw when there is none.
inline int StatusOf(std::string_view document) {
    return nlohmann::json::parse(document).at("structured").at("status").get<int>();
}
inline std::string ReasonOf(std::string_view document) {
    return nlohmann::json::parse(document).at("unstructured").at("reason").get<std::string>();
}

// Empty when the tool finds no problem in `document` as the report of `name`, it has a status, a
// reason in words and metrics, and its time is in UTC; else what is wrong.
inline std::string ContractFault(std::string_view document, std::string_view name) {
    const std::vector<std::string> problems = Ctl::FindProblems(document, name);
    if (!problems.empty()) {
        return problems.front();
    }
    const nlohmann::json report = nlohmann::json::parse(document);
    const std::string time = report["structured"]["time"];
    return !time.ends_with("+00:00") && !time.ends_with('Z')    ? "its time is not in UTC"
           : !report["structured"].contains("status")           ? "it has no status"
           : report["unstructured"].value("reason", "").empty() ? "its reason is empty"
           : !report["unstructured"].value("metrics", nlohmann::json()).is_object()
               ? "it has no metrics"
               : "";
}

}  // namespace Test
