// Which texts are date-times and what they mean, as tables.
#include "platform/runtime/values/date_time.h"

#include "support/time_zone.h"

#include <gtest/gtest.h>

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

TEST(DateTime, ReadsATextWithoutAZoneAsLocalTime) {
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

}  // namespace
