// Which changes of a report cause a notice, and when.
#include "notify/decisions.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace {

using Ctl::ReportState;
using Notify::Decisions;
using Notify::LastNotice;
using Notify::Notice;

constexpr std::chrono::seconds kSettleTime{60};

struct Step {
    int second;
    ReportState state;
    bool isHeld = false;
};

struct Row {
    const char* name;
    LastNotice lastNotice;
    std::vector<Step> steps;
    const char* notices;  // "SECOND:BEFORE>STATE*CHANGES ", with "~" for one that flaps
};

constexpr auto kOk = ReportState::Ok;
constexpr auto kWarning = ReportState::Warning;
constexpr auto kError = ReportState::Error;

const Row kCourses[] = {
    {"AllWell", {}, {{0, kOk}, {100, ReportState::None}, {200, kOk}}, ""},
    {"WorseOnceItLasts",
     {},
     {{0, kOk}, {5, kError}, {64, kError}, {65, kError}, {99, kError}},
     "65:OK>ERROR*1 "},
    {"BadFromTheBeginning", {}, {{0, kWarning}, {60, kWarning}}, "60:OK>WARNING*0 "},
    {"ShortTroubleIsNoNews", {}, {{0, kOk}, {5, kError}, {30, kOk}, {95, kOk}}, ""},
    {"WellAgain", {kError}, {{0, kError}, {60, kError}, {70, kOk}, {130, kOk}}, "130:ERROR>OK*1 "},
    {"BetterIsNotWell", {kError}, {{0, kWarning}, {60, kWarning}, {70, kError}, {130, kError}}, ""},
    {"WorseThanTold", {kWarning}, {{0, kError}, {60, kError}}, "60:WARNING>ERROR*0 "},
    {"HeldUntilReleased",
     {},
     {{0, kError, true}, {60, kError, true}, {61, kError}},
     "61:OK>ERROR*0 "},
    {"FlappingOnceThenWhereItSettles",
     {},
     {{0, kOk},
      {10, kError},
      {20, kOk},
      {30, kError},
      {40, kOk},
      {50, kError},
      {60, kOk},
      {70, kError},
      {80, kOk},
      {140, kOk},
      {200, kOk}},
     "60:OK>OK*6~ 140:OK>OK*2 "}};

// Asks at every step and confirms each notice, as the notifier does.
TEST(NotifyDecisions, SendNoticesForStatesThatLast) {
    for (const Row& row : kCourses) {
        Decisions decisions(kSettleTime, {{"cpu", row.lastNotice}});
        std::string notices;
        for (const Step& step : row.steps) {
            const Decisions::TimePoint now{std::chrono::seconds(step.second)};
            decisions.Observe({{"cpu", step.state, "", "", step.isHeld}}, now);
            for (const Notice& notice : decisions.Due(now)) {
                notices += std::to_string(step.second) + ":" +
                           std::string(Ctl::NameOf(notice.before)) + ">" +
                           std::string(Ctl::NameOf(notice.report.state)) + "*" +
                           std::to_string(notice.changes) + (notice.isFlapping ? "~ " : " ");
                decisions.Confirm(notice);
            }
        }
        EXPECT_EQ(notices, row.notices) << row.name;
    }
}

TEST(NotifyDecisions, RememberWhatIsNotOk) {
    Decisions decisions(kSettleTime, {{"raid", {kError}}, {"gone", {kWarning}}});
    EXPECT_EQ(decisions.LastNotices().size(), 2U) << "before the first look nothing is forgotten";
    decisions.Observe({{"raid", kError}, {"cpu", kOk}}, {});
    EXPECT_EQ(decisions.LastNotices().size(), 1U);
    EXPECT_EQ(decisions.LastNotices().at("raid").state, kError);
}

}  // namespace
