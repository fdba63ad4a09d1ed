// Reads the members in a fixed order, so that a document with several faults always reports the
// same one. Keeps the library's texts, which name the member or the type.
#include "store/report.h"

#include "platform/json/json_scanner.h"
#include "platform/pellmar/log/logger.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstddef>
#include <exception>
#include <limits>
#include <optional>
#include <utility>

namespace Sentrel {

namespace {

using nlohmann::json;
using Pellmar::Service::Logger;
using Pellmar::Service::LogInternal;

constexpr std::array<std::string_view, 5> kStatusWords = {"ok", "warning", "error", "none",
                                                          "unknown"};

json::parse_error ParseErrorAt(std::size_t offset, const std::string& reason) {
    constexpr int kSyntaxError = 101;
    return json::parse_error::create(kSyntaxError, offset + 1,
                                     "syntax error while parsing value - " + reason, nullptr);
}

std::int32_t Clamped(double number) {
    using Limits = std::numeric_limits<std::int32_t>;
    if (number <= Limits::min()) {
        return Limits::min();
    }
    return number >= Limits::max() ? Limits::max() : static_cast<std::int32_t>(number);
}

// get<std::int32_t> would accept booleans; the library's own integer type refuses them.
std::int32_t StatusOf(const json& value) {
    return value.is_number_float() ? Clamped(value.get<double>())
                                   : static_cast<std::int32_t>(value.get<json::number_integer_t>());
}

Report Convert(const json& document) {
    const json& structured = document.at("structured");
    Report report;
    report.name = structured.at("name").get<std::string>();
    report.time = structured.at("time").get<std::string>();
    if (const auto status = structured.find("status"); status != structured.end()) {
        report.status = StatusOf(*status);
    }
    report.unstructured = document.at("unstructured").dump();
    report.unstructured.shrink_to_fit();  // the library may have reserved twice as much
    return report;
}

}  // namespace

std::string_view StatusToString(std::int32_t status) {
    const bool isKnown = status >= kStatusOk && status <= kStatusUnknown;
    return kStatusWords[static_cast<std::size_t>(isKnown ? status : kStatusNone)];
}

json ParseReportText(std::string_view text) {
    if (const std::optional<std::size_t> offset = Json::FindExcessDepth(text)) {
        throw ParseErrorAt(*offset,
                           "nested deeper than " + std::to_string(Json::kMaxDepth) + " levels");
    }
    json document = json::parse(text);
    // The library treats a NUL byte between tokens as the end of the text.
    if (const std::size_t nul = text.find('\0'); nul != std::string_view::npos) {
        throw ParseErrorAt(nul, "unexpected NUL byte; expected end of input");
    }
    return document;
}

void ReportFromJson(const json& document, Report& report) {
    try {
        report = Convert(document);
    } catch (const json::exception& exception) {
        LogInternal(Logger::sDefaultLogger, 3, "JSON parse error: %1", exception.what());
    } catch (const std::exception& exception) {
        LogInternal(Logger::sDefaultLogger, 3, "Error converting from JSON to Report: %1",
                    exception.what());
    }
}

}  // namespace Sentrel
