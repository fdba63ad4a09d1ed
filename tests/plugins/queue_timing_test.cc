#include "plugins/queue_timing.h"

#include <gtest/gtest.h>

namespace {

using Sentrel::PluginCounts;

struct Row {
    PluginCounts counts;
    std::int64_t fastPeriodMinutes;
    std::uint64_t fastPeriod;
    std::uint64_t mediumDelay;
    std::uint64_t slowDelay;
    std::uint64_t minimumPeriod;
    bool raised;
};

TEST(QueueTiming, GivesEachPluginItsSlot) {
    const Row rows[] = {
        {{0, 0, 0}, 5, 300, 30, 30, 0, false},     {{2, 1, 1}, 5, 300, 90, 120, 120, false},
        {{4, 3, 3}, 5, 300, 150, 240, 300, false}, {{5, 3, 3}, 5, 330, 180, 270, 330, true},
        {{0, 0, 15}, 5, 450, 30, 30, 450, true},   {{15, 0, 0}, 10, 600, 480, 480, 450, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.minimumPeriod);
        const auto table = Sentrel::MakeTimetable(row.counts, row.fastPeriodMinutes);
        EXPECT_EQ(table.fast.period, row.fastPeriod);
        EXPECT_EQ(table.fast.initialDelay, 30U);
        EXPECT_EQ(table.medium.initialDelay, row.mediumDelay);
        EXPECT_EQ(table.slow.initialDelay, row.slowDelay);
        EXPECT_EQ(table.minimumPeriod, row.minimumPeriod);
        EXPECT_EQ(table.fastPeriodWasRaised, row.raised);
        EXPECT_EQ(table.medium.period, 3600U);
        EXPECT_EQ(table.slow.period, 86400U);
    }
}

}  // namespace
