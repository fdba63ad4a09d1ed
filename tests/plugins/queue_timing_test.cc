#include "plugins/queue_timing.h"

#include <gtest/gtest.h>

namespace {

using Sentrel::MakeTimetable;
using Sentrel::PluginCounts;
using Sentrel::Timetable;

struct Row {
    const char* name;
    PluginCounts counts;
    std::int64_t fastPeriodMinutes;
    std::uint64_t fastPeriod;
    std::uint64_t mediumDelay;
    std::uint64_t slowDelay;
    std::uint64_t minimumPeriod;
    bool raised;
};

class Timetables : public testing::TestWithParam<Row> {};

TEST_P(Timetables, GiveEachPluginItsSlot) {
    const Row& row = GetParam();
    const Timetable table = MakeTimetable(row.counts, row.fastPeriodMinutes);
    EXPECT_EQ(table.fast.period, row.fastPeriod);
    EXPECT_EQ(table.fast.initialDelay, 30U);
    EXPECT_EQ(table.medium.initialDelay, row.mediumDelay);
    EXPECT_EQ(table.slow.initialDelay, row.slowDelay);
    EXPECT_EQ(table.minimumPeriod, row.minimumPeriod);
    EXPECT_EQ(table.fastPeriodWasRaised, row.raised);
    EXPECT_EQ(table.medium.period, 3600U);
    EXPECT_EQ(table.slow.period, 86400U);
}

INSTANTIATE_TEST_SUITE_P(
    QueueTiming, Timetables,
    testing::Values(Row{"noPlugins", {0, 0, 0}, 5, 300, 30, 30, 0, false},
                    Row{"someOfEach", {2, 1, 1}, 5, 300, 90, 120, 120, false},
                    Row{"asManyAsFit", {4, 3, 3}, 5, 300, 150, 240, 300, false},
                    Row{"oneMore", {5, 3, 3}, 5, 330, 180, 270, 330, true},
                    Row{"slowOnesCountToo", {0, 0, 15}, 5, 450, 30, 30, 450, true},
                    Row{"longerPeriod", {15, 0, 0}, 10, 600, 480, 480, 450, false}),
    [](const auto& row) { return row.param.name; });

TEST(QueueTiming, SpreadsTheBatchesOfAQueue) {
    const Timetable table = MakeTimetable({2, 3, 0}, 5);
    EXPECT_EQ(table.fast.FirstRun(1), 60U);
    EXPECT_EQ(table.medium.FirstRun(0), 90U);
    EXPECT_EQ(table.medium.FirstRun(2), 150U);
}

}  // namespace
