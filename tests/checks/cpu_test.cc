// The check of the processors on hosts of files.
#include "checks/cpu.h"

#include "checks/fixture_host.h"
#include "support/host_directory.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using SentrelCheck::Status;
using Test::ExpectOutcomes;
using Test::ExpectSurvivesDamage;
using Test::HostFiles;
using Test::With;

std::string PressureOf(const std::string& average60) {
    return "some avg10=1.00 avg60=" + average60 + " avg300=3.00 total=123\n" +
           "full avg10=0.00 avg60=0.00 avg300=0.00 total=0\n";
}

constexpr const char* kBefore = "cpu  100 0 100 800 0 0 0 50 10 0\ncpu0 1 2 3 4 5 6 7 8 9 10\n";

// What /proc/stat holds after the pause; nothing changes when it is empty.
Test::CheckOfRoot CheckWithLaterTicks(const std::string& later) {
    return [later](const std::string& root, SentrelCheck::Settings& settings,
                   SentrelCheck::Report& report) {
        const auto pause = [&] {
            if (!later.empty()) {
                Test::WriteFile(root + "/proc/stat", later);
            }
        };
        Checks::CheckCpu(root, pause, settings, report);
    };
}

TEST(CheckCpu, JudgesPressureAndSteal) {
    const HostFiles good = {{"/proc/pressure/cpu", PressureOf("12.50")}, {"/proc/stat", kBefore}};
    // 100 ticks later, of which 4 were taken
    ExpectOutcomes(
        CheckWithLaterTicks("cpu  150 0 100 846 0 0 0 54 10 0\n"),
        {
            {"good", good, Status::Ok, "processor pressure 12.5 %; steal 4 %"},
            {"pressure", With(good, {{"/proc/pressure/cpu", PressureOf("50.00")}}), Status::Warning,
             "processor pressure 50 % is at or above 50 %"},
            {"great pressure", With(good, {{"/proc/pressure/cpu", PressureOf("99.00")}}),
             Status::Error, "processor pressure 99 % is at or above 80 %"},
            {"stricter about steal", good, Status::Error,
             "processor time given to other machines by the hypervisor: 4 % is at or above 3 %",
             R"({"steal": {"warning": 2, "critical": 3}})"},
            {"no pressure figures", With(good, {{"/proc/pressure/cpu", ""}}), Status::Ok,
             "steal 4 %"},
            {"nothing", {}, Status::None, "this kernel has no processor statistics"},
        });
}

TEST(CheckCpu, HandlesTicksThatStandStillOrStepBack) {
    const HostFiles before = {{"/proc/stat", kBefore}};
    ExpectOutcomes(CheckWithLaterTicks(""), {{"none", before, Status::Ok, "steal 4.76 %"}});
    ExpectOutcomes(CheckWithLaterTicks("cpu  200 0 100 700 0 0 0 49 10 0\n"),
                   {{"back", before, Status::Ok, "steal 0 %"}});
}

TEST(CheckCpu, SurvivesDamagedFiles) {
    ExpectSurvivesDamage(CheckWithLaterTicks(""),
                         {{"/proc/pressure/cpu", PressureOf("12.50")}, {"/proc/stat", kBefore}},
                         {{{"/proc/pressure/cpu", "some avg10=1.00 avg60=x avg300=1.00"}},
                          {{"/proc/pressure/cpu", "some avg10=1.00"}},
                          {{"/proc/pressure/cpu", "many"}},
                          {{"/proc/stat", "intr 1 2 3"}},
                          {{"/proc/stat", "cpu 1 2 3"}},
                          {{"/proc/stat", "cpu 1 2 3 4 5 6 7 -8 9 10"}}});
}

}  // namespace
