#include "ctl/report_check.h"

#include "platform/json/bounded_json.h"
#include "platform/runtime/date_time.h"
#include "store/report.h"
#include "store/report_name.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <system_error>

namespace Ctl {

namespace {

using Document = nlohmann::json;

constexpr std::size_t kMaxDocumentBytes = 1048576;

class Problems {
  public:
    // The member, or null when it is missing, which is a problem.
    const Document* Require(const Document& object, const char* member, const std::string& path) {
        const auto found = object.find(member);
        if (found == object.end()) {
            Tell(path + " is missing");
            return nullptr;
        }
        return &*found;
    }
    void Tell(std::string problem) { texts.push_back(std::move(problem)); }
    std::vector<std::string> Take() { return std::move(texts); }

  private:
    std::vector<std::string> texts;
};

void CheckName(const Document& value, std::string_view name, Problems& problems) {
    if (!value.is_string()) {
        problems.Tell("structured.name is no text");
    } else if (!Sentrel::IsSameReportName(value.get<std::string>(), name)) {
        problems.Tell("structured.name is \"" + value.get<std::string>() + "\", not \"" +
                      std::string(name) + "\"");
    }
}

// Of a text that is a date-time.
bool HasZone(std::string_view time) {
    const std::size_t clock = time.find_first_of("Tt");
    return time.find_first_of("Zz+-", clock) != std::string_view::npos;
}

void CheckTime(const Document& value, Problems& problems) {
    if (!value.is_string()) {
        problems.Tell("structured.time is no text");
        return;
    }
    const std::string time = value.get<std::string>();
    std::error_code error;
    (void)Quon::DateTime::Create(time, error);  // the value does not matter
    if (error) {
        problems.Tell("structured.time \"" + time +
                      "\" is no time such as 2024-03-05T14:07:09Z: " + error.message());
    } else if (!HasZone(time)) {
        problems.Tell("structured.time \"" + time + "\" has no zone: add Z or such as +01:00");
    }
}

void CheckStatus(const Document& structured, Problems& problems) {
    const auto status = structured.find("status");
    if (status == structured.end()) {
        return;
    }
    if (!status->is_number_integer() || *status < Sentrel::kStatusOk ||
        *status > Sentrel::kStatusUnknown) {
        problems.Tell("structured.status is " + status->dump() +
                      ", not 0 (ok), 1 (warning), 2 (error), 3 (none) or 4 (unknown)");
    }
}

void CheckStructured(const Document& structured, std::string_view name, Problems& problems) {
    if (const Document* value = problems.Require(structured, "name", "structured.name")) {
        CheckName(*value, name, problems);
    }
    if (const Document* value = problems.Require(structured, "time", "structured.time")) {
        CheckTime(*value, problems);
    }
    CheckStatus(structured, problems);
}

void CheckMetrics(const Document& unstructured, Problems& problems) {
    if (!unstructured.is_object() || !unstructured.contains("metrics")) {
        return;
    }
    if (!unstructured["metrics"].is_object()) {
        problems.Tell("unstructured.metrics is no object");
        return;
    }
    for (const auto& [name, metric] : unstructured["metrics"].items()) {
        const Document& value =
            metric.is_object() && metric.contains("value") ? metric["value"] : metric;
        if (!value.is_number()) {
            problems.Tell("unstructured.metrics." + name +
                          " is neither a number nor an object with a number \"value\"");
        }
    }
}

}  // namespace

std::vector<std::string> FindProblems(std::string_view document, std::string_view name) {
    Problems problems;
    if (!Sentrel::IsReportName(name)) {
        problems.Tell("\"" + std::string(name) + "\" is no name for a report: it may have " +
                      std::string(Sentrel::kReportNameRule) + " only");
    }
    Document report;
    Json::JsonError error;
    if (!Json::Parse(document, {.maxBytes = kMaxDocumentBytes, .root = Json::Root::Object}, report,
                     error)) {
        const std::string place = error.line == 0
                                      ? ""
                                      : "line " + std::to_string(error.line) + ", column " +
                                            std::to_string(error.column) + ": ";
        problems.Tell(place + error.reason);
        return problems.Take();
    }
    if (const Document* structured = problems.Require(report, "structured", "structured")) {
        if (structured->is_object()) {
            CheckStructured(*structured, name, problems);
        } else {
            problems.Tell("structured is no object");
        }
    }
    if (const Document* unstructured = problems.Require(report, "unstructured", "unstructured")) {
        CheckMetrics(*unstructured, problems);
    }
    return problems.Take();
}

}  // namespace Ctl
