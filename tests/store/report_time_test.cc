// Times of files and of reports as texts, at the edges of what each clock can hold.
#include "store/report_time.h"

#include "support/time_zone.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <string>

namespace {

using Sentrel::FormatModifiedTime;
using Sentrel::ReadReportTime;
using Sentrel::ToFileTime;
using std::filesystem::file_time_type;
using Test::TimeZone;

TEST(ModifiedTime, IsWrittenInUtcWhateverTheZone) {
    const TimeZone zone("EAST-05:30");
    const struct {
        std::timespec modified;
        std::string text;
    } rows[] = {
        {{1709647629, 0}, "2024-03-05T14:07:09+00:00"},
        {{0, 0}, "1970-01-01T00:00:00+00:00"},
        {{-1, 0}, "1969-12-31T23:59:59+00:00"},
        {{-1, 500'000'000}, "1970-01-01T00:00:00+00:00"},  // half a second before
        {{-2777000000, 0}, "1881-12-31T19:06:40+00:00"},
        {{15'600'000'000, 0}, "2464-05-05T13:20:00+00:00"},
    };
    for (const auto& row : rows) {
        const auto modified = ToFileTime(row.modified);
        ASSERT_TRUE(modified) << row.text;
        EXPECT_EQ(FormatModifiedTime(*modified), row.text);
    }
    EXPECT_EQ(FormatModifiedTime(file_time_type::min()).substr(0, 4), "1881");
    EXPECT_EQ(FormatModifiedTime(file_time_type::max()).substr(0, 4), "2466");
}

TEST(ModifiedTime, IsEmptyBeyondTheRangeOfTheFileClock) {
    using Limits = std::numeric_limits<std::time_t>;
    for (const std::time_t second :
         {Limits::min(), std::time_t{-2'790'000'000}, std::time_t{15'700'000'000}, Limits::max()}) {
        EXPECT_FALSE(ToFileTime({second, 0})) << second;
    }
}

TEST(ReportTime, IsReadAsLocalStandardTime) {
    const struct {
        const char* zone;
        std::string text;
        std::optional<std::time_t> second;
    } rows[] = {
        {"UTC0", "2024-03-05T14:07:09", 1709647629},
        {"UTC0", "2024-03-05T14:07:09+05:00", 1709647629},
        {"WEST3", "2024-03-05T14:07:09Z", 1709647629 + 3 * 3600},
        // a summer's time is one of winter, too
        {"WEST0EAST-1,M3.1.0,M10.1.0", "2024-07-01T12:00:00", 1719835200},
        {"UTC0", "1969-12-31T23:59:59", -1},
        {"UTC0", "9999-12-31T23:59:59", 253402300799},
        {"UTC0", "yesterday", {}},
        {"UTC0", "2024-03-05 14:07:09", {}},
        {"UTC0", "2024-13-05T14:07:09", {}},
    };
    for (const auto& row : rows) {
        const TimeZone zone(row.zone);
        EXPECT_EQ(ReadReportTime(row.text), row.second) << row.zone << ' ' << row.text;
    }
}

}  // namespace
