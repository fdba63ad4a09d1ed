// The one form of lists, counts, sizes, durations and times.
#include "ctl/show/words.h"
#include "ctl/show/durations.h"
#include "ctl/show/sizes.h"
#include "ctl/show/times.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace CtlTest {
namespace {

using std::chrono::microseconds;
using std::chrono::seconds;
using std::chrono::system_clock;

TEST(Words, EnumeratesAndAbridges) {
    const std::vector<std::string> names = {"a", "b", "c", "d", "e", "f", "g"};
    const char* const whole[] = {"", "a", "a or b", "a, b or c"};
    const char* const abridged[] = {"", "a and 6 more", "a, b and 5 more", "a, b, c and 4 more",
                                    "a, b, c, d and 3 more"};
    for (std::ptrdiff_t count = 0; count < 4; ++count) {
        EXPECT_EQ(Ctl::Enumerated({names.begin(), names.begin() + count}, "or"), whole[count]);
    }
    for (std::size_t most = 1; most < 5; ++most) {
        EXPECT_EQ(Ctl::Abridged(names, most), abridged[most]);
    }
    EXPECT_EQ(Ctl::Abridged(names, 7), "a, b, c, d, e, f and g");
    EXPECT_EQ(Ctl::Joined({"", "x", "y"}, "; "), "; x; y");
}

TEST(Words, CountsInSingularAndPlural) {
    EXPECT_EQ(Ctl::Counted(0, "name"), "0 names");
    EXPECT_EQ(Ctl::Counted(1, "process", "processes"), "1 process");
    EXPECT_EQ(Ctl::Counted(2, "process", "processes"), "2 processes");
}

TEST(Sizes, AreInUnitsOf1024WithOneDecimal) {
    const std::pair<std::uintmax_t, const char*> rows[] = {
        {0, "0 bytes"},
        {1, "1 byte"},
        {1023, "1023 bytes"},
        {1024, "1.0 KiB"},
        {1023948, "999.9 KiB"},
        {1023949, "1.0 MiB"},
        {4 << 20, "4.0 MiB"},
        {std::uintmax_t{3} << 29, "1.5 GiB"},
        {std::uintmax_t{5} << 50, "5120.0 TiB"},
    };
    for (const auto& [bytes, text] : rows) {
        EXPECT_EQ(Ctl::SizeText(bytes), text);
    }
}

TEST(Durations, ShowTheTwoLargestUnits) {
    const std::pair<int, const char*> rows[] = {
        {-1, "0 s"},         {0, "0 s"},         {18, "18 s"},         {60, "1 min"},
        {150, "2 min 30 s"}, {3601, "1 h"},      {7199, "1 h 59 min"}, {86399, "23 h 59 min"},
        {86400, "1 d"},      {90061, "1 d 1 h"}, {8640061, "100 d"},
    };
    for (const auto& [count, text] : rows) {
        EXPECT_EQ(Ctl::DurationText(seconds(count)), text);
    }
}

TEST(Durations, HaveAtMostFourDigitsWhenMeasured) {
    const std::pair<int, const char*> rows[] = {
        {0, "0.000 s"},        {1234567, "1.235 s"}, {9999499, "9.999 s"},     {9999500, "10.00 s"},
        {59994999, "59.99 s"}, {59995000, "1 min"},  {150499999, "2 min 30 s"}};
    for (const auto& [count, text] : rows) {
        EXPECT_EQ(Ctl::MeasuredText(microseconds(count)), text);
    }
}

TEST(Times, AreInUtcAndHaveAges) {
    const system_clock::time_point now = system_clock::from_time_t(1709647629);
    EXPECT_EQ(Ctl::UtcText(now), "2024-03-05T14:07:09Z");
    EXPECT_EQ(Ctl::NormalTime("2024-03-05T15:07:09.5+01:00"), "2024-03-05T14:07:09.500Z");
    EXPECT_EQ(Ctl::NormalTime("yesterday"), "");
    const std::pair<const char*, const char*> rows[] = {
        {"2024-03-05T14:04:09Z", "3 min"},         {"2024-03-05T15:07:09+01:00", "0 s"},
        {"2024-03-05T14:07:11Z", "in the future"}, {"9999-12-31T23:59:59Z", "in the future"},
        {"0001-01-01T00:00:00Z", "738949 d 14 h"}, {"yesterday", "unknown"},
    };
    for (const auto& [time, text] : rows) {
        EXPECT_EQ(Ctl::AgeText(Ctl::AgeOf(time, now)), text) << time;
    }
}

}  // namespace
}  // namespace CtlTest
