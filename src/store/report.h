// The report document that plugins post, and the record created from it.
//
//   {"structured": {"name": "cpu", "time": "2024-03-05T14:07:09+00:00", "status": 1},
//    "unstructured": any value}
//
// "status" is optional; other members are ignored. Name and time are not validated here; the
// publisher reads the files.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Sentrel {

// Values of "status". Other numbers occur; messages show them as "none".
inline constexpr std::int32_t kStatusOk = 0;
inline constexpr std::int32_t kStatusWarning = 1;
inline constexpr std::int32_t kStatusError = 2;
inline constexpr std::int32_t kStatusNone = 3;
inline constexpr std::int32_t kStatusUnknown = 4;

struct Report {
    std::string name;
    std::string time;  // as the plugin wrote it
    std::int32_t status = kStatusNone;
    std::string unstructured;  // JSON without blanks, members sorted by the bytes of their names
};

// The size of its texts in bytes, without the name, which is as short as a file name.
inline std::size_t TextBytes(const Report& report) {
    return report.time.size() + report.unstructured.size();
}

// Longer stored reports are not read.
inline constexpr std::size_t kMaxStoredSize = 16 * 1024 * 1024;

// The word for a status code in log messages.
std::string_view StatusToString(std::int32_t status);

// Parses a report document: one JSON text (RFC 8259, a leading UTF-8 byte order mark is skipped);
// of equal member names the last one counts. Throws an exception of the JSON library (parse_error,
// or out_of_range for a number beyond a double) whose text says where and why; nesting beyond
// Json::kMaxDepth is a parse_error before anything is built. Does not recurse.
nlohmann::json ParseReportText(std::string_view text);

// Fills `report` from a parsed document; on failure logs the reason at level 3 through the default
// logger and leaves `report` unchanged. A fractional "status" is truncated and clamped to 32 bits;
// of an integer the low 32 bits count.
void ReportFromJson(const nlohmann::json& document, Report& report);

}  // namespace Sentrel
