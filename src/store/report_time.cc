// A listing formats one time for each name, so digits are written by hand: strftime would look up
// the locale and gmtime the time zone each time.
#include "store/report_time.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include <time.h>

namespace Sentrel {

namespace {

using std::chrono::days;
using std::chrono::file_clock;
using std::chrono::floor;
using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::sys_seconds;
using std::filesystem::file_time_type;

// Whole seconds safely within the range of nanoseconds since the clock's epoch.
const sys_seconds kFirstFileTime =
    file_clock::to_sys(floor<seconds>(file_time_type::min()) + seconds(2));
const sys_seconds kLastFileTime =
    file_clock::to_sys(floor<seconds>(file_time_type::max()) - seconds(2));

// Writes `number` as `width` digits ending before `end`.
void PutDigits(char* end, int width, unsigned number) {
    for (; width > 0; --width, number /= 10) {
        *--end = static_cast<char>('0' + number % 10);
    }
}

// Rounds to seconds before converting between the clocks: the sum in nanoseconds would overflow.
sys_seconds WholeSeconds(file_time_type modified) {
    const sys_seconds below = file_clock::to_sys(floor<seconds>(modified));
    const bool hasFraction = modified.time_since_epoch() % seconds(1) != seconds(0);
    return hasFraction && below < sys_seconds() ? below + seconds(1) : below;
}

}  // namespace

std::string FormatModifiedTime(file_time_type modified) {
    const sys_seconds second = WholeSeconds(modified);
    const sys_days day = floor<days>(second);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss<seconds> time(second - day);

    std::string text = "0000-00-00T00:00:00+00:00";
    const auto put = [&text](std::size_t end, int width, std::int64_t number) {
        PutDigits(text.data() + end, width, static_cast<unsigned>(number));
    };
    put(4, 4, static_cast<int>(date.year()));  // the clock's range has four-digit years
    put(7, 2, static_cast<unsigned>(date.month()));
    put(10, 2, static_cast<unsigned>(date.day()));
    put(13, 2, time.hours().count());
    put(16, 2, time.minutes().count());
    put(19, 2, time.seconds().count());
    return text;
}

std::optional<file_time_type> ToFileTime(const std::timespec& modified) {
    const sys_seconds second{seconds(modified.tv_sec)};
    if (second < kFirstFileTime || second > kLastFileTime) {
        return std::nullopt;
    }
    return file_time_type(file_clock::from_sys(second)) +
           std::chrono::nanoseconds(modified.tv_nsec);
}

std::optional<std::time_t> ReadReportTime(const std::string& text) {
    std::tm fields{};
    if (::strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &fields) == nullptr) {
        return std::nullopt;
    }
    return std::mktime(&fields);
}

}  // namespace Sentrel
