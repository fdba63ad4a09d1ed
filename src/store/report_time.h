// The two time texts of the report store: when a plugin says that it made its report, and when a
// stored file was last written. What the API makes of the first is its own business.
#pragma once

#include <ctime>
#include <filesystem>
#include <optional>
#include <string>

namespace Sentrel {

// "2024-03-05T14:07:09+00:00": the second in UTC, its fraction cut off towards 1970.
std::string FormatModifiedTime(std::filesystem::file_time_type modified);

// The same moment on the clock of files; nothing when it is outside that clock's range, which is
// the years 1882 to 2465 and a part of those beside them.
std::optional<std::filesystem::file_time_type> ToFileTime(const std::timespec& modified);

// Reads "%Y-%m-%dT%H:%M:%S" (strptime(3)) from the start of `text` as a standard time, never a
// daylight saving time, of the host: seconds since 1970. What follows the seconds, a zone for
// instance, is not looked at. Nothing when the text does not begin like that.
std::optional<std::time_t> ReadReportTime(const std::string& text);

}  // namespace Sentrel
