// Feeds bytes to the parser of stored reports and what it accepts to the record's conversion, and
// aborts when a promise breaks: an exception that is not the library's, a text that the rest of the
// system would judge otherwise, a record that is half filled or does not say what the document
// says.
#include "checking.h"
#include "platform/json/bounded_json.h"
#include "platform/pellmar/log/logger.h"
#include "store/report.h"
#include "store/report_time.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <string_view>

namespace {

using nlohmann::json;

// Null when the text is refused; a document that is null says as little.
json ParseOrNull(std::string_view text) {
    json ofSystem;
    Json::JsonError error;
    const bool isOfSystem = Json::Parse(text, {text.size()}, ofSystem, error);
    try {
        json document = Sentrel::ParseReportText(text);
        Check(isOfSystem && document == ofSystem);
        return document;
    } catch (const json::exception& exception) {
        Check(!isOfSystem);
        Check(std::string_view(exception.what()).substr(0, 16) == "[json.exception.");
        return {};
    }
}

void CheckRecord(const json& document, const Sentrel::Report& report) {
    const json& structured = document.at("structured");
    Check(structured.at("name") == report.name && structured.at("time") == report.time);
    Check(structured.contains("status") || report.status == Sentrel::kStatusNone);
    Check(json::parse(report.unstructured) == document.at("unstructured"));
    Check(report.unstructured.find('\n') == std::string::npos);
    Check(!Sentrel::StatusToString(report.status).empty());
    (void)Sentrel::ReadReportTime(report.time);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Pellmar::Service::Logger::sDefaultLogger->SetLevel(0);  // refusals are not told here
    const json document = ParseOrNull({reinterpret_cast<const char*>(data), size});
    Sentrel::Report report{"", "", -7, "unfilled"};
    Sentrel::ReportFromJson(document, report);
    if (report.unstructured == "unfilled") {  // no JSON: nothing was assigned
        Check(report.name.empty() && report.time.empty() && report.status == -7);
    } else {
        CheckRecord(document, report);
    }
    return 0;
}
