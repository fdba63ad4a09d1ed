#include "ctl/post/check.h"

#include "ctl/post/json_schema.h"
#include "ctl/post/schema.h"
#include "intake/report_job.h"
#include "platform/json/bounded_json.h"
#include "platform/runtime/values/date_time.h"
#include "platform/sys/utf8.h"
#include "store/report_name.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <optional>
#include <system_error>

namespace Ctl {

namespace {

using Document = nlohmann::json;

const Document& Schema() {
    static const Document sSchema = Document::parse(kReportSchema);
    return sSchema;
}

// Parses the text; nothing, with `problem` set, if it is not a document.
std::optional<Document> ReadDocument(std::string_view text, std::string& problem) {
    Document document;
    Json::JsonError error;
    if (Json::Parse(text, {.maxBytes = Sentrel::kMaxReportSize}, document, error)) {
        return document;
    }
    const std::string place = error.line == 0 ? ""
                                              : "line " + std::to_string(error.line) + ", column " +
                                                    std::to_string(error.column) + ": ";
    problem = place + error.Text();
    return std::nullopt;
}

std::string Shown(const Document& value) {
    constexpr std::size_t kMaxShown = 60;
    if (value.is_structured()) {
        return value.is_object() ? "an object" : "a list";
    }
    const std::string text = value.dump();
    const std::string_view shown = Sys::CutUtf8(text, kMaxShown);
    return std::string(shown) + (shown.size() < text.size() ? "..." : "");
}

std::string Explain(const SchemaViolation& violation) {
    const std::string path = violation.path.empty() ? "the document" : violation.path;
    return violation.value == nullptr
               ? path + " is missing: add " + violation.wanted
               : path + " is " + Shown(*violation.value) + ", not " + violation.wanted;
}

// The text at that place; nothing if it is missing or not a text.
std::optional<std::string> TextAt(const Document& report, const char* place) {
    const Document::json_pointer pointer(place);
    return report.contains(pointer) && report.at(pointer).is_string()
               ? std::optional(report.at(pointer).get<std::string>())
               : std::nullopt;
}

// The problem of a time that does not match the schema or may not exist; nothing if it is valid.
std::optional<std::string> FindProblemOfTime(const std::string& time, bool hasForm) {
    std::error_code error;
    (void)Quon::DateTime::Create(time, error);  // only validity matters
    const std::string what = "structured.time " + Shown(time);
    if (error) {
        return what + " is not a time such as 2024-03-05T14:07:09Z: " + error.message();
    }
    return hasForm ? std::nullopt : std::optional(what + " has no zone: add Z or such as +01:00");
}

}  // namespace

std::vector<std::string> FindProblems(std::string_view document, std::string_view name) {
    std::vector<std::string> problems;
    if (!Sentrel::IsReportName(name)) {
        problems.push_back("invalid report name \"" + std::string(name) + "\": a name matches " +
                           std::string(Sentrel::kReportNameRule));
    }
    std::string fault;
    const std::optional<Document> report = ReadDocument(document, fault);
    if (!report) {
        problems.push_back(fault);
        return problems;
    }
    const std::optional<std::string> time = TextAt(*report, "/structured/time");
    std::optional<std::string> written = TextAt(*report, "/structured/name");
    bool hasTimeForm = true;
    for (const SchemaViolation& violation : FindViolations(Schema(), *report)) {
        if (time && violation.path == "structured.time") {
            hasTimeForm = false;  // the reason is added below
            continue;
        }
        if (violation.path == "structured.name") {
            written.reset();  // one problem of the time is enough
        }
        problems.push_back(Explain(violation));
    }
    if (written && !Sentrel::IsSameReportName(*written, name)) {
        problems.push_back("structured.name is " + Shown(*written) + ", not \"" +
                           std::string(name) + "\"");
    }
    if (time) {
        if (std::optional<std::string> problem = FindProblemOfTime(*time, hasTimeForm)) {
            problems.push_back(std::move(*problem));
        }
    }
    return problems;
}

}  // namespace Ctl
