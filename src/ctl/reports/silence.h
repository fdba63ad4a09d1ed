// Silences: each marks the problem of one report as known, for a limited time.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace Ctl {

struct Silence {
    std::string name;  // of the report
    std::chrono::system_clock::time_point until;
    std::string because;
};

// Below the host root.
inline constexpr const char* kSilenceFile = "/var/lib/korvex/sentrel/silences.json";

// The silences that have not ended at `now`, in the order of the file; none if it is missing.
// Throws Failure if it cannot be read, or was not written by WriteSilences.
std::vector<Silence> ReadSilences(std::chrono::system_clock::time_point now);

// Replaces the file atomically. The group of the report directory can read it. Throws Failure.
void WriteSilences(const std::vector<Silence>& silences);

// "silenced until 14:00Z: TEXT"; with the date, unless that is the day of `now` in UTC.
std::string SilenceText(const Silence& silence, std::chrono::system_clock::time_point now);

}  // namespace Ctl
