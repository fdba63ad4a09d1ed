// What each filter keeps and tells.
#include "store/filters.h"

#include "platform/pellmar/log/logger.h"
#include "support/captured_log.h"
#include "support/time_zone.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using Pellmar::Service::Logger;
using Sentrel::Report;
using Test::CapturedLog;
using testing::ElementsAre;

const Pellmar::Ref<Logger> kLogger = Logger::CreateLogger(Logger::sDefaultLogger, "filters");

TEST(NameFilter, ComparesWithoutAsciiCase) {
    const struct {
        std::vector<std::string> names;
        std::string name;
        bool keeps;
    } rows[] = {
        {{}, "cpu", true},
        {{"CPU", "disk", "cpu"}, "cPu", true},
        {{"CPU", "disk"}, "Disk", true},
        {{"", "cpu", "disk1"}, "disk", false},
        {{"a.B_z-0"}, "A.b_Z-0", true},
        {{"\xE9", "[", "@"}, "\xC9", false},
        {{"[", "@"}, "{", false},
        {{"[", "@"}, "`", false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Sentrel::NameFilter(row.names, kLogger).Apply(row.name), row.keeps)
            << testing::PrintToString(row.names) << ' ' << row.name;
    }
}

TEST(StatusFilter, KeepsTheListedCodesAndLogsThem) {
    const CapturedLog log;
    const std::vector<std::int32_t> statuses = {0, 2};
    const std::vector<std::int32_t> none;
    const Sentrel::StatusFilter filter(statuses, kLogger);
    EXPECT_TRUE(filter.Apply({"n", "t", 2, ""}));
    EXPECT_FALSE(filter.Apply({"n", "t", 7, ""}));
    EXPECT_TRUE(Sentrel::StatusFilter(none, kLogger).Apply({"n", "t", 7, ""}));
    EXPECT_THAT(log.Lines(),
                ElementsAre("6 filters: Checking for report.status = error in [ ok error ]",
                            "6 filters: Checking for report.status = none in [ ok error ]"));
}

TEST(TimeFilter, KeepsReportsFromTheStartTimeOn) {
    const ::Test::TimeZone zone("UTC0");
    constexpr std::int64_t kSecond = 1'000'000'000;
    constexpr std::int64_t kMade = 1709647629 * kSecond;
    const struct {
        std::string time;
        std::int64_t start;
        bool keeps;
    } rows[] = {
        {"2024-03-05T14:07:09Z", kMade, true},
        {"2024-03-05T14:07:09Z", kMade - 1, true},
        {"2024-03-05T14:07:09Z", kMade + 1, false},
        {"1969-12-31T23:59:59", -kSecond, true},
        {"1969-12-31T23:59:59", -kSecond + 1, false},
        {"9999-12-31T23:59:59", INT64_MAX, true},
        {"0001-01-01T00:00:00", INT64_MIN + 1, false},
        {"2024-03-05T14:07:09Z", INT64_MIN + 1, true},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Sentrel::TimeFilter(row.start, kLogger).Apply({"n", row.time, 0, ""}), row.keeps)
            << row.time << ' ' << row.start;
    }

    const CapturedLog log;
    const Sentrel::TimeFilter filter(-1'900'000'000, kLogger);
    EXPECT_TRUE(filter.Apply({"n", "1970-01-01T00:00:05", 0, ""}));
    EXPECT_FALSE(filter.Apply({"n", "yesterday", 0, ""}));
    EXPECT_THAT(log.Lines(),
                ElementsAre("6 filters: Time filter: Start time: -1 Report creation time: 5",
                            "3 filters: Failed to parse date/time: yesterday"));
}

}  // namespace
