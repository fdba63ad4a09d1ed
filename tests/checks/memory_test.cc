// The check of memory on hosts of files.
#include "checks/memory.h"

#include "checks/fixture_host.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Checks::CheckMemory;
using SentrelCheck::Status;
using Test::ExpectOutcomes;
using Test::ExpectSurvivesDamage;
using Test::HostFiles;
using Test::With;

constexpr const char* kInfo = "/proc/meminfo";
constexpr const char* kPressure = "/proc/pressure/memory";
const std::string kController = "/sys/devices/system/edac/mc/mc0/";

std::string InfoOf(const std::string& available, const std::string& hugePages = "0") {
    return "MemTotal:        1000000 kB\nMemFree:           10000 kB\nMemAvailable:    " +
           available + " kB\nHugetlb:          " + hugePages + " kB\n";
}

std::string PressureOf(const std::string& some, const std::string& full) {
    return "some avg10=0.00 avg60=" + some + " avg300=0.00 total=1\nfull avg10=0.00 avg60=" + full +
           " avg300=0.00 total=1\n";
}

const HostFiles kGood = {{kInfo, InfoOf("500000")},
                         {kPressure, PressureOf("0.20", "0.10")},
                         {kController + "ce_count", "2\n"},
                         {kController + "ue_count", "0\n"}};

TEST(CheckMemory, JudgesAvailableMemoryPressureAndErrors) {
    ExpectOutcomes(
        CheckMemory,
        {
            {"good", kGood, Status::Ok,
             "memory available 50 %; memory pressure 0.2 %; 2 memory errors corrected"},
            {"little left", With(kGood, {{kInfo, InfoOf("99990")}}), Status::Warning,
             "memory available 10 % is below 10 %", R"({"available": {"warning": 10.001}})"},
            {"hardly anything left", With(kGood, {{kInfo, InfoOf("31000")}}), Status::Error,
             "memory available 3.1 % is below 5 %"},
            {"huge pages do not count", With(kGood, {{kInfo, InfoOf("31000", "900000")}}),
             Status::Ok, "memory available 31 %; memory pressure 0.2 %; 2 memory errors corrected"},
            {"pressure", With(kGood, {{kPressure, PressureOf("10.00", "0.00")}}), Status::Warning,
             "memory pressure 10 % is at or above 10 %"},
            {"freeze", With(kGood, {{kPressure, PressureOf("30.00", "25.00")}}), Status::Error,
             "time in which all tasks waited for memory 25 % is at or above 20 %; memory pressure "
             "30 "
             "% is at or above "
             "10 %"},
            {"corrected errors of two controllers",
             With(kGood, {{"/sys/devices/system/edac/mc/mc1/ce_count", "8\n"},
                          {"/sys/devices/system/edac/mc/mc1/ue_count", "0\n"}}),
             Status::Warning, "corrected memory errors: 10 is at or above 10"},
            {"an uncorrected error", With(kGood, {{kController + "ue_count", "1\n"}}),
             Status::Error, "uncorrected memory errors: 1 is at or above 1"},
            {"no controllers, no pressure",
             {{kInfo, InfoOf("500000")}},
             Status::Ok,
             "memory available 50 %"},
            {"nothing", {}, Status::None, "this kernel has no memory statistics"},
        });
}

TEST(CheckMemory, SurvivesDamagedFiles) {
    ExpectSurvivesDamage(CheckMemory, kGood,
                         {{{kInfo, "MemTotal: 0 kB\nMemAvailable: 0 kB\n"}},
                          {{kInfo, "MemTotal: 1000 kB\n"}},
                          {{kInfo, InfoOf("500", "1000000")}},
                          {{kController + "ce_count", "-1\n"}},
                          {{kPressure, "some avg10=0.00"}}});
}

}  // namespace
