// Parses and converts a stored report and aborts when a guarantee is violated: no exceptions but
// the library's, the same verdict on the text as the rest of the system, and a record that is
// either unchanged or matches the document.
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

// Null for a refused text and for a document that is null.
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
    Pellmar::Service::Logger::sDefaultLogger->SetLevel(0);  // suppresses the log lines of refusals
    const json document = ParseOrNull({reinterpret_cast<const char*>(data), size});
    Sentrel::Report report{"", "", -7, "unfilled"};
    Sentrel::ReportFromJson(document, report);
    if (report.unstructured == "unfilled") {  // not JSON: nothing was assigned
        Check(report.name.empty() && report.time.empty() && report.status == -7);
    } else {
        CheckRecord(document, report);
    }
    return 0;
}
