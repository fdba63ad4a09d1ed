#include "platform/http1/connection_bound.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace {

using Http1::WaitingConnection;
using std::chrono::milliseconds;

constexpr bool kRequest = true;
constexpr bool kToken = true;

// The order in which connections give way, whatever order they stand in.
TEST(ConnectionBound, ClosesConnectionsWithoutARequestThenIdleOnesAndRecentlyAnsweredOnesLast) {
    const WaitingConnection::TimePoint now{std::chrono::hours(1)};
    const auto ago = [now](int count) { return now - milliseconds(count); };
    const std::vector<WaitingConnection> expected{
        {!kRequest, !kToken, ago(5'000)}, {!kRequest, !kToken, ago(1)},
        {kRequest, !kToken, ago(9'000)},  {kRequest, !kToken, ago(1'000)},
        {kRequest, kToken, ago(20'000)},  {kRequest, !kToken, ago(999)},
        {kRequest, !kToken, ago(1)},      {kRequest, kToken, ago(900)},
    };
    std::vector<WaitingConnection> sorted(expected.rbegin(), expected.rend());
    std::sort(sorted.begin(), sorted.end(), [now](const auto& one, const auto& other) {
        return Http1::GivesWayBefore(one, other, now);
    });
    for (std::size_t row = 0; row < expected.size(); ++row) {
        SCOPED_TRACE(row);
        EXPECT_EQ(sorted[row].hasSentRequest, expected[row].hasSentRequest);
        EXPECT_EQ(sorted[row].isVerified, expected[row].isVerified);
        EXPECT_EQ(sorted[row].since, expected[row].since);
    }
}

}  // namespace
