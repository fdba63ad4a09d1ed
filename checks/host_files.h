// Small readers of /proc and /sys. A file that cannot be read counts as absent from this host; a
// file with unexpected content becomes a finding with the status unknown.
#pragma once

#include "sentrel_check/report.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Checks {

// The first 4 KiB of the file at `path`, without line feeds at the end. Empty if it cannot
// be read.
std::optional<std::string> ReadSmallFile(const std::string& path);

// Calls `take` with each line, without its line feed, until it returns false. Only the
// first 64 KiB of a line count. Keeps one line in memory at a time, since some files have megabytes
// on a large host. Returns false if the file cannot be read.
bool ForEachLine(const std::string& path, const std::function<bool(std::string_view)>& take);

// The decimal number that a file contains. Empty if the file cannot be read; empty, with a finding,
// if it contains anything else.
std::optional<std::uint64_t> ReadNumber(const std::string& path, SentrelCheck::Report& report);

// Adds the finding for a file with unexpected content.
void FindGarbled(const std::string& path, SentrelCheck::Report& report);

// The names in a directory except "." and "..", in byte order. Empty if it cannot be read.
std::vector<std::string> ListDirectory(const std::string& path);

bool Exists(const std::string& path);

// The fields of a line between blanks and tabs.
std::vector<std::string_view> SplitFields(std::string_view line);

// The text as an unsigned decimal number; empty if it is anything else or does not fit.
std::optional<std::uint64_t> ParseNumber(std::string_view text);

// `part` of `whole` in percent, rounded to two decimals; 0 if `whole` is 0.
double Percent(double part, double whole);

}  // namespace Checks
