// The files of the notifier: its settings, and the last notice about each report.
#pragma once

#include "notify/decisions.h"

#include <chrono>
#include <map>
#include <string>

namespace Notify {

// /etc/korvex/sentrel/notify.json: an object with any of these members.
struct Settings {
    std::chrono::seconds settleTime{60};   // settle_time_in_secs: 0 to 86,400
    std::chrono::seconds hookTimeout{30};  // hook_timeout_in_secs: 1 to 600
    int maxPerMinute = 10;                 // max_notices_per_minute: 1 to 600
};

// The defaults if the file is missing. Throws Ctl::Failure if it cannot be read, or has an unknown
// member or a value out of its range.
Settings ReadSettings(const std::string& path);

// Reads a file that WriteLastNotices wrote; nothing if it is missing. Throws Ctl::Failure for any
// other content.
std::map<std::string, LastNotice> ReadLastNotices(const std::string& path);

// Replaces the file. Throws std::system_error.
void WriteLastNotices(const std::string& path, const std::map<std::string, LastNotice>& notices);

}  // namespace Notify
