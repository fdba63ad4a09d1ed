// Small readers of /proc and /sys. What can't be read counts as what the host does not have; what
// is read but makes no sense becomes a finding with the status unknown.
#pragma once

#include "sentrel_check/report.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Checks {

// The first 4 KiB of the file at `path`, without line feeds at the end. Nothing when it can't be
// read.
std::optional<std::string> ReadSmallFile(const std::string& path);

// Calls `take` with each line, without its line feed, until it returns false. Of a longer line only
// the first 64 KiB count. One line is in memory at a time: on a large host some files have
// megabytes. False when the file can't be read.
bool ForEachLine(const std::string& path, const std::function<bool(std::string_view)>& take);

// A file that holds one decimal number. Nothing when it can't be read; nothing and a finding when
// it holds something else.
std::optional<std::uint64_t> ReadNumber(const std::string& path, SentrelCheck::Report& report);

// The finding for a file that makes no sense.
void FindGarbled(const std::string& path, SentrelCheck::Report& report);

// The names in a directory but "." and "..", in byte order. Empty when it can't be read.
std::vector<std::string> ListDirectory(const std::string& path);

bool Exists(const std::string& path);

// The fields of a line between blanks and tabs.
std::vector<std::string_view> SplitFields(std::string_view line);

// A whole non-negative decimal number that fits.
std::optional<std::uint64_t> ParseNumber(std::string_view text);

// `part` of `whole` in percent, rounded to two decimals; 0 of nothing.
double Percent(double part, double whole);

}  // namespace Checks
