// The check of hardware sensors on hosts of files.
#include "checks/sensors.h"

#include "checks/fixture_host.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Checks::CheckSensors;
using SentrelCheck::Status;
using Test::ExpectOutcomes;
using Test::ExpectSurvivesDamage;
using Test::HostFiles;
using Test::With;

const std::string kChip = "/sys/class/hwmon/hwmon0/";
const HostFiles kHost = {{kChip + "name", "nct6775\n"},       {kChip + "temp1_input", "45500\n"},
                         {kChip + "temp1_label", "SYSTIN\n"}, {kChip + "temp1_max", "80000\n"},
                         {kChip + "temp1_crit", "95000\n"},   {kChip + "fan2_input", "1200\n"},
                         {kChip + "fan2_min", "600\n"},       {kChip + "fan3_input", "0\n"},
                         {kChip + "in0_input", "900\n"},      {kChip + "in0_alarm", "0\n"}};

HostFiles Host(const HostFiles& changes) { return With(kHost, changes); }

TEST(CheckSensors, JudgesByTheLimitsOfTheChips) {
    const HostFiles hot = {{kChip + "temp1_input", "81000\n"}};
    ExpectOutcomes(
        CheckSensors,
        {
            {"good", kHost, Status::Ok, "4 sensors are within their limits"},
            {"none",
             {{"/sys/class/hwmon/", ""}},
             Status::None,
             "this host has no sensors that the kernel can read"},
            {"hot", Host(hot), Status::Warning, "nct6775.SYSTIN: 81 °C is at or above 80 °C"},
            {"too hot", Host({{kChip + "temp1_input", "95000\n"}}), Status::Error,
             "nct6775.SYSTIN: 95 °C is at or above 95 °C"},
            {"limits that no one has set",
             Host({{kChip + "temp1_input", "99000\n"},
                   {kChip + "temp1_max", "0\n"},
                   {kChip + "temp1_crit", "255000\n"}}),
             Status::Ok, "4 sensors are within their limits"},
            {"own limits", kHost, Status::Warning, "nct6775.SYSTIN: 45.5 °C is at or above 40 °C",
             R"({"temperature": {"warning": 40}})"},
            {"critical alarm", Host({{kChip + "temp1_crit_alarm", "1\n"}}), Status::Error,
             "nct6775.SYSTIN raises its critical alarm"},
            {"slow fan", Host({{kChip + "fan2_input", "300\n"}}), Status::Warning,
             "nct6775.fan2: 300 rpm is below 600 rpm"},
            {"voltage", Host({{kChip + "in0_alarm", "1\n"}}), Status::Warning,
             "nct6775.in0 raises its alarm"},
            {"faulty", Host({{kChip + "temp1_fault", "1\n"}}), Status::Warning,
             "nct6775.SYSTIN is faulty"},
            {"ignored", Host(hot), Status::Ok, "3 sensors are within their limits",
             R"({"ignore": ["*.SYSTIN"]})"},
        });
}

TEST(CheckSensors, SurvivesDamage) { ExpectSurvivesDamage(CheckSensors, kHost); }

}  // namespace
