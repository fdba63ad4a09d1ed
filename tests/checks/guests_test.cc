// The check of virtual machines on hosts of files.
#include "checks/guests.h"

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

const std::string kSlice = "/sys/fs/cgroup/machine.slice/";

std::string CommandLine(const std::string& program, const std::string& memory) {
    return program + '\0' + "-name" + '\0' + "guest" + '\0' + "-m" + '\0' + memory + '\0';
}

const HostFiles kHost = {
    {"/proc/meminfo", "MemTotal: 8388608 kB\n"},
    {"/proc/1/cmdline", std::string("/sbin/init\0", 11)},
    {"/proc/70/cmdline", CommandLine("/usr/bin/qemu-system-x86_64", "size=4194304k,slots=16")},
    {"/proc/70/task/71/comm", "CPU 0/KVM\n"},
    {"/proc/70/task/71/schedstat", "900 100 7\n"},
    {"/proc/70/task/72/comm", "IO mon_iothread\n"},
    {"/proc/70/task/72/schedstat", "1 999999 7\n"},
    {"/proc/80/cmdline", CommandLine("/usr/bin/kvm", "2G")},
    {kSlice + "memory.events", "low 0\noom_kill 0\n"}};

// Between the two looks `later` is written over the host's files.
Test::CheckOfRoot CheckWith(const HostFiles& later) {
    return [later](const std::string& root, auto& settings, auto& report) {
        const auto pause = [&] {
            for (const auto& [path, text] : later) {
                Test::WriteFile(root + path, text);
            }
        };
        Checks::CheckGuests(root, pause, settings, report);
    };
}

const std::string kGood = "2 virtual machines; 6 GiB of memory promised";

TEST(CheckGuests, JudgesMemoryAndKills) {
    ExpectOutcomes(
        CheckWith({}),
        {
            {"good", kHost, Status::Ok, kGood},
            {"none",
             {{"/proc/1/cmdline", "init"}},
             Status::None,
             "no virtual machines run on this host"},
            {"promised more than there is",
             With(kHost, {{"/proc/80/cmdline", CommandLine("kvm", "8192")}}), Status::Warning,
             "memory promised to virtual machines: 150 % is at or above 100 %"},
            {"another program of the emulator",
             With(kHost, {{"/proc/80/cmdline", CommandLine("qemu-img", "8192")}}), Status::Ok,
             "1 virtual machine; 4 GiB of memory promised"},
            {"killed", With(kHost, {{kSlice + "memory.events", "oom_kill 2\n"}}), Status::Warning,
             "processes of machine.slice killed for lack of memory since boot: 2 is at or above 1"},
            {"pressure",
             With(kHost, {{kSlice + "cpu.pressure",
                           "some avg10=99.00 avg60=95.00 avg300=2.00 total=1\n"}}),
             Status::Error, "processor pressure of machine.slice 95 % is at or above 90 %"},
        });
}

TEST(CheckGuests, JudgesHowLongVirtualProcessorsWaited) {
    ExpectOutcomes(CheckWith({{"/proc/70/task/71/schedstat", "1700 300 9\n"}}),
                   {{"waited a fifth of the time", kHost, Status::Warning,
                     "time for which virtual processors waited for a physical one: 20 % is at or "
                     "above 10 %"}});
    ExpectOutcomes(CheckWith({{"/proc/70/task/71/schedstat", "1 1 1\n"}}),
                   {{"another thread has the number now", kHost, Status::Ok, kGood}});
}

TEST(CheckGuests, SurvivesDamage) { ExpectSurvivesDamage(CheckWith({}), kHost); }

}  // namespace
