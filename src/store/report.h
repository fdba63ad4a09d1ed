// The report document that plugins post, and the record that is made of it.
//
//   {"structured": {"name": "cpu", "time": "2024-03-05T14:07:09+00:00", "status": 1},
//    "unstructured": any value}
//
// "status" may be missing; other members are ignored. What a report is called and when it was made
// is not judged here; files are the publisher's.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Sentrel {

// What "status" says; other numbers occur and count as none.
inline constexpr std::int32_t kStatusOk = 0;
inline constexpr std::int32_t kStatusWarning = 1;
inline constexpr std::int32_t kStatusError = 2;
inline constexpr std::int32_t kStatusNone = 3;
inline constexpr std::int32_t kStatusUnknown = 4;

struct Report {
    std::string name;
    std::string time;  // as the plugin wrote it
    std::int32_t status = kStatusNone;
    std::string unstructured;  // JSON without blanks, members in byte order of their names
};

// The bytes of its texts, the name aside, which is as short as that of a file.
inline std::size_t TextBytes(const Report& report) {
    return report.time.size() + report.unstructured.size();
}

// A longer stored report is not read.
inline constexpr std::size_t kMaxStoredSize = 16 * 1024 * 1024;

// The word of a status code, as log messages show it.
std::string_view StatusToString(std::int32_t status);

// Parses a report document: one JSON text (RFC 8259, a UTF-8 byte order mark before it is skipped),
// of equal member names the last one holding. Throws an exception of the JSON library (parse_error,
// or out_of_range for a number beyond a double) whose text says where and why; nesting beyond
// Json::kMaxDepth is refused as a parse_error before anything is built. Does not recurse.
nlohmann::json ParseReportText(std::string_view text);

// Fills `report` from a parsed document, or logs at level 3 through the default logger why it
// cannot and leaves `report` as it was. A fraction of "status" is cut off and the number limited to
// 32 bits; of an integer the low 32 bits count.
void ReportFromJson(const nlohmann::json& document, Report& report);

}  // namespace Sentrel
