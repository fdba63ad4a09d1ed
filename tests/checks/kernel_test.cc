// The check of the kernel on hosts of files.
#include "checks/kernel.h"

#include "checks/fixture_host.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace {

using Checks::ClockState;
using SentrelCheck::Status;
using Test::ExpectOutcomes;
using Test::ExpectSurvivesDamage;
using Test::HostFiles;
using Test::With;

constexpr const char* kTaint = "/proc/sys/kernel/tainted";
constexpr const char* kInterrupts = "/proc/interrupts";
constexpr const char* kProcessors = "/proc/cpuinfo";
constexpr const char* kDevice = "/dev/kvm";

std::string InterruptsOf(const std::string& counts) {
    return "            CPU0       CPU1       \n   0:         37          0   IO-APIC   2-edge     "
           " "
           "timer\n MCE:    " +
           counts +
           "   Machine check exceptions\n MCP:        120        120   Machine check polls\n";
}

const HostFiles kGood = {{kTaint, "0\n"},
                         {kInterrupts, InterruptsOf("0 0")},
                         {kProcessors, "processor\t: 0\nflags\t\t: fpu vmx sse\n"},
                         {kDevice, "device"}};

Test::CheckOfRoot CheckWith(const std::optional<ClockState>& clock) {
    return [clock](const std::string& root, SentrelCheck::Settings& settings,
                   SentrelCheck::Report& report) {
        Checks::CheckKernel(root, [clock] { return clock; }, settings, report);
    };
}

const Test::CheckOfRoot kCheck = CheckWith(ClockState{true, 0.01});

TEST(CheckKernel, JudgesTaintsAndMachineChecks) {
    const std::string goodEnd = "; clock synchronised; can run virtual machines";
    ExpectOutcomes(
        kCheck,
        {
            {"good", kGood, Status::Ok, "not tainted" + goodEnd},
            {"harmless taints", With(kGood, {{kTaint, "12289\n"}}), Status::Ok,
             "tainted POE" + goodEnd},
            {"an oops", With(kGood, {{kTaint, "129\n"}}), Status::Error,
             "the kernel is tainted D: the kernel had an oops; only a reboot clears it"},
            {"a warning of the kernel", With(kGood, {{kTaint, "512\n"}}), Status::Warning,
             "the kernel is tainted W: the kernel issued a warning; only a reboot clears it"},
            {"another opinion", With(kGood, {{kTaint, "513\n"}}), Status::Error,
             "the kernel is tainted P: a proprietary module was loaded; only a reboot clears it",
             R"({"taint_error": "P", "taint_warning": ""})"},
            {"machine checks", With(kGood, {{kInterrupts, InterruptsOf("1 2")}}), Status::Warning,
             "machine check exceptions: 3 is at or above 1"},
        });
}

TEST(CheckKernel, JudgesTheClock) {
    const std::string reason =
        "the clock is not synchronised; check that a time service is running and reaches its "
        "servers";
    ExpectOutcomes(CheckWith(ClockState{false, 16}),
                   {
                       {"needed", kGood, Status::Warning, reason},
                       {"not needed", kGood, Status::Ok,
                        "not tainted; clock not synchronised; can run virtual machines",
                        R"({"clock_synchronised": false})"},
                   });
    ExpectOutcomes(CheckWith(std::nullopt),
                   {{"not told", kGood, Status::Ok,
                     "not tainted; clock not checked: the kernel refused the query; can run "
                     "virtual machines"},
                    {"nothing at all",
                     {},
                     Status::None,
                     "this kernel does not report its state",
                     R"({"virtualisation": false})"}});
}

TEST(CheckKernel, JudgesVirtualisation) {
    const HostFiles without = With(kGood, {{kDevice, ""}});
    const std::string begin = "virtual machines cannot run: ";
    const auto processor = [&without](const char* flags) {
        return With(without, {{kProcessors, std::string("flags\t\t: fpu ") + flags + "\n"}});
    };
    ExpectOutcomes(
        kCheck,
        {
            {"no module", without, Status::Warning,
             begin +
                 "the processor supports vmx, but /dev/kvm is missing; run: modprobe kvm_intel"},
            {"a module without its device",
             With(processor("svm"), {{"/sys/module/kvm_amd/", "a directory"}}), Status::Warning,
             begin + "kvm_amd is loaded, but /dev/kvm is missing; see the kernel log"},
            {"no flag", processor("sse"), Status::Warning,
             begin + "the processor reports no virtualisation support; enable it in the firmware "
                     "setup"},
            {"an arm64 processor",
             With(without, {{kProcessors, "processor\t: 0\nFeatures\t: fp asimd evtstrm\n"}}),
             Status::Warning, begin + "/dev/kvm is missing; see the kernel log"},
            {"not needed", without, Status::Ok,
             "not tainted; clock synchronised; cannot run virtual machines",
             R"({"virtualisation": false})"},
        });
}

TEST(CheckKernel, SurvivesDamagedFiles) {
    ExpectSurvivesDamage(
        kCheck, kGood,
        {{{kTaint, "D\n"}}, {{kTaint, "-1\n"}}, {{kTaint, "99999999999999999999\n"}}});
}

}  // namespace
