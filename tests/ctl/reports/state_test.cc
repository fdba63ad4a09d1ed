// What state reports are in: the rules alone, without a host.
#include "ctl/reports/state.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace Test {
namespace {

using Ctl::ReportState;
using std::chrono::seconds;

// 2024-03-05T14:07:09Z
const auto kNow = std::chrono::system_clock::time_point(seconds(1709647629));

TEST(ReportState, IsTheReportsOwnUnlessItIsTooOldMissingOrUnreadable) {
    const std::vector<Ctl::PluginPeriod> plugins = {{"cpu", seconds(300)},
                                                    {"disk", seconds(300)},
                                                    {"disk.sda", seconds(3600)},
                                                    {"net", seconds(300)},
                                                    {"Bad", seconds(300)},
                                                    // since 13:57:09
                                                    {"slow", seconds(300), kNow - seconds(600)}};
    struct Row {
        const char* name;
        const char* time;
        const char* status;
        ReportState state;
        const char* unstructured = "";
        const char* reason = "";  // of a stale one
    };
    const Row rows[] = {
        {"Bad.one", "2024-03-05T14:07:09.000Z", "", ReportState::Invalid},
        {"CPU", "2024-03-05T13:59:39.000Z", "OK", ReportState::Ok},  // exactly 1.5 periods
        {"backup", "2024-03-04T12:07:09.000Z", "OK", ReportState::Stale, R"({"validFor": 86400})",
         "last report 1 d 2 h ago, valid for 1 d"},  // nobody's
        {"backup2", "2024-03-04T14:07:09.000Z", "OK", ReportState::Ok, R"({"validFor": 86400})"},
        {"backup3", "2020-01-01T00:00:00.000Z", "OK", ReportState::Ok, R"({"validFor": "x"})"},
        {"cpu.0", "2024-03-05T13:59:38.000Z", "ERROR", ReportState::Stale, R"({"reason": "hot"})",
         "last report 7 min 31 s ago, expected every 5 min; it said ERROR: hot"},
        {"cpux", "2020-01-01T00:00:00.000Z", "WARNING", ReportState::Warning},  // nobody's
        {"disk.sda.1", "2024-03-05T13:00:00.000Z", "NONE", ReportState::None},  // of disk.sda
        {"future", "2024-03-05T14:08:10.000Z", "OK", ReportState::Stale, "",
         "its time is in the future"},
        {"last", "9999-12-31T23:59:59.999Z", "OK", ReportState::Stale, "",
         "its time is in the future"},
        {"lead", "2024-03-05T14:08:09.000Z", "OK", ReportState::Ok},  // a clock a minute ahead
        {"odd", "2024-03-05T14:07:09.000Z", "SOMETHING", ReportState::Unknown},
        {"slow.a", "2024-03-05T13:49:39.000Z", "OK", ReportState::Ok},  // was fresh at the start
        {"slow.b", "2024-03-05T13:49:38.000Z", "OK", ReportState::Stale, "",
         "last report 17 min 31 s ago, expected every 5 min"},
    };
    std::vector<Ctl::StoredReport> reports;
    for (const Row& row : rows) {
        reports.push_back({row.name, row.time, row.status, row.unstructured});
    }
    const std::vector<Ctl::JudgedReport> judged = Ctl::JudgeReports(reports, plugins, kNow);
    std::vector<std::string> never;
    std::size_t next = 0;
    for (const Ctl::JudgedReport& report : judged) {
        if (report.state == ReportState::Never) {
            never.push_back(report.report.name);
            continue;
        }
        ASSERT_LT(next, std::size(rows));
        EXPECT_EQ(report.report.name, rows[next].name);
        EXPECT_EQ(Ctl::NameOf(report.state), Ctl::NameOf(rows[next].state)) << rows[next].name;
        if (report.state == ReportState::Stale) {
            EXPECT_EQ(Ctl::ReasonOf(report), rows[next].reason);
        }
        EXPECT_EQ(report.age.has_value(), report.state != ReportState::Invalid);
        ++next;
    }
    EXPECT_EQ(next, std::size(rows));
    EXPECT_EQ(never, (std::vector<std::string>{"disk", "net"}));
}

}  // namespace
}  // namespace Test
