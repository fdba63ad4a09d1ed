// Metrics against their limits, as texts and bars.
#include "ctl/sight/metric_view.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Ctl::Metric;
using Ctl::ReportState;

TEST(MetricView, ComparesWithTheLimitsAndDrawsABar) {
    const struct {
        Metric metric;
        ReportState state;
        const char* value;
        const char* limits;
        ReportState verdict;
        const char* bar;
    } rows[] = {
        {{"a", 61.4, "%"}, ReportState::Ok, "61.4 %", "", ReportState::Ok, "██████▏"},
        {{"a", 85, "%", 80, 90},
         ReportState::Warning,
         "85 %",
         "warning 80, critical 90",
         ReportState::Warning,
         "████████▲✖"},
        {{"a", 95, "%", 80, 90},
         ReportState::Error,
         "95 %",
         "warning 80, critical 90",
         ReportState::Error,
         "████████▲✖"},
        {{"a", 4, "", 10, 5},
         ReportState::Error,
         "4",
         "warning below 10, critical below 5",
         ReportState::Error,
         "████ ✖   ▲"},
        {{"a", 3, "", {}, 2},
         ReportState::Ok,
         "3",
         "critical below 2",
         ReportState::Ok,
         "██████✖███"},
        {{"a", 3, "", {}, 2},
         ReportState::Error,
         "3",
         "critical 2",
         ReportState::Error,
         "██████✖███"},
        {{"a", -1, "", 10}, ReportState::Ok, "-1", "warning 10", ReportState::Ok, "         ▲"},
        {{"a", 0}, ReportState::Ok, "0", "", ReportState::Ok, ""},
    };
    for (const auto& row : rows) {
        const Ctl::MetricView view = ViewOf(row.metric, row.state);
        const std::string what = std::string(row.value) + " of " + row.limits;
        EXPECT_EQ(view.value, row.value);
        EXPECT_EQ(view.limits, row.limits) << what;
        EXPECT_EQ(view.verdict, row.verdict) << what;
        EXPECT_EQ(BarText(view, 10), row.bar) << what;
    }
}

TEST(MetricView, ShowsFourDigitsOfAFraction) {
    const struct {
        double number;
        const char* text;
    } rows[] = {{0, "0"},           {-0.0, "0"},  {1022, "1022"},   {18862.91, "18863"},
                {91.2345, "91.23"}, {0.5, "0.5"}, {1e300, "1e+300"}};
    for (const auto& row : rows) {
        EXPECT_EQ(Ctl::ShortNumber(row.number), row.text);
    }
}

}  // namespace
