// Which texts are date-times and what they mean, as tables; the calendar against the system's.
#include "platform/runtime/values/date_time.h"

#include "support/time_zone.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <ctime>
#include <string>
#include <system_error>

namespace {

using Quon::DateTime;

// The text written back, or the error's number.
std::string Outcome(const std::string& text) {
    std::error_code error;
    const DateTime time = DateTime::Create(text, error);
    if (error) {
        EXPECT_EQ(time, DateTime()) << text;
        EXPECT_FALSE(error.message().empty());
        return "error " + std::to_string(error.value());
    }
    return time.ToString();
}

struct Row {
    const char* text;
    const char* outcome;
};

TEST(DateTime, ReadsRfc3339AndNothingElse) {
    const std::string syntax = "error 1";
    const Row rows[] = {
        {"1970-01-01T00:00:00Z", "1970-01-01T00:00:00.000Z"},
        {"2024-02-29t23:59:59.9z", "2024-02-29T23:59:59.900Z"},
        {"2024-05-01T12:00:00.0019999Z", "2024-05-01T12:00:00.001Z"},
        {"2024-01-01T00:30:00+01:00", "2023-12-31T23:30:00.000Z"},
        {"2023-12-31T23:30:00-23:59", "2024-01-01T23:29:00.000Z"},
        {"1969-12-31T23:59:59.999-00:00", "1969-12-31T23:59:59.999Z"},
        {"0001-01-01T00:00:00Z", "0001-01-01T00:00:00.000Z"},
        {"9999-12-31T23:59:59.999Z", "9999-12-31T23:59:59.999Z"},
        // Syntax
        {"", "error 1"},
        {"2024-05-01", "error 1"},
        {"2024-05-01 12:00:00Z", "error 1"},
        {"2024-05-01T12:00:00.Z", "error 1"},
        {"2024-05-01T12:00:00.0123456789Z", "error 1"},
        {"2024-05-01T12:00:00Zx", "error 1"},
        {"2024-05-01T12:00:00+0100", "error 1"},
        {"2024-5-1T12:00:00Z", "error 1"},
        {" 2024-05-01T12:00:00Z", "error 1"},
        // Ranges
        {"2023-02-29T00:00:00Z", "error 2"},
        {"1900-02-29T00:00:00Z", "error 2"},
        {"2024-13-01T00:00:00Z", "error 2"},
        {"2024-04-00T00:00:00Z", "error 2"},
        {"2024-05-01T24:00:00Z", "error 2"},
        {"2016-12-31T23:59:60Z", "error 2"},
        {"2024-05-01T12:00:00+24:00", "error 2"},
        {"0001-01-01T00:00:00+00:01", "error 3"},
        {"9999-12-31T23:59:59-00:01", "error 3"},
        {"0000-06-01T00:00:00Z", "error 3"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Outcome(row.text), row.outcome) << row.text;
    }
    EXPECT_EQ(Outcome(std::string("2024-05-01T12:00:00Z\0", 21)), syntax);
}

TEST(DateTime, TakesATextWithoutAZoneForLocalTime) {
    const ::Test::TimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    const Row rows[] = {
        {"2024-01-15T12:00:00", "2024-01-15T11:00:00.000Z"},
        {"2024-07-15T12:00:00.25", "2024-07-15T10:00:00.250Z"},
        {"1970-01-01T00:59:59", "1969-12-31T23:59:59.000Z"},  // -1 for mktime
        {"1850-01-01T00:00:00", "1849-12-31T23:00:00.000Z"},
        {"2024-03-31T02:30:00", "error 4"},  // skipped
        {"0001-01-01T00:30:00", "error 3"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Outcome(row.text), row.outcome) << row.text;
    }
}

TEST(DateTime, AgreesWithTheSystemsCalendar) {
    constexpr std::int64_t kFirst = -62135596800;  // 0001-01-01
    constexpr std::int64_t kEnd = 253402300800;    // 10000-01-01
    constexpr std::int64_t kStep = 13 * 86400 + 3607;
    for (std::int64_t seconds = kFirst; seconds < kEnd; seconds += kStep) {
        const std::time_t moment = seconds;
        std::tm fields{};
        gmtime_r(&moment, &fields);
        std::array<char, 64> text{};
        std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.000Z",
                      fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday, fields.tm_hour,
                      fields.tm_min, fields.tm_sec);
        std::error_code error;
        const DateTime time = DateTime::Create(text.data(), error);
        ASSERT_EQ(time.MillisecondsSinceEpoch(), seconds * 1000) << text.data();
        ASSERT_EQ(time.ToString(), text.data());
    }
}

}  // namespace
