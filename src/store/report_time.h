// The two times of the report store: when a report was created according to its plugin, and when a
// stored file was last modified.
#pragma once

#include <ctime>
#include <filesystem>
#include <optional>
#include <string>

namespace Sentrel {

// Such as "2024-03-05T14:07:09+00:00": the second in UTC, with the fraction truncated towards 1970.
std::string FormatModifiedTime(std::filesystem::file_time_type modified);

// Converts to the file clock; nothing if the time is outside that clock's range, which is about the
// years 1882 to 2465.
std::optional<std::filesystem::file_time_type> ToFileTime(const std::timespec& modified);

// Parses "%Y-%m-%dT%H:%M:%S" (strptime(3)) at the start of `text` as the host's standard time,
// never daylight saving time, into seconds since 1970. Ignores what follows, such as a zone.
// Returns nothing if `text` does not start like that.
std::optional<std::time_t> ReadReportTime(const std::string& text);

}  // namespace Sentrel
