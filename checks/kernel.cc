#include "checks/kernel.h"

#include "checks/host_files.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include <sys/timex.h>

namespace Checks {

namespace {

using SentrelCheck::Bad;
using SentrelCheck::Limits;
using SentrelCheck::Report;
using SentrelCheck::Settings;
using SentrelCheck::Status;

constexpr Limits kMachineChecks{1, std::nullopt};
constexpr const char* kTaintsThatAreErrors = "BDM";
constexpr const char* kTaintsThatAreWarnings = "FLRSW";

// Bit i of /proc/sys/kernel/tainted (admin-guide/tainted-kernels of the kernel's documentation).
struct Taint {
    char letter;
    const char* meaning;
};
constexpr std::array<Taint, 20> kTaints = {{
    {'P', "a proprietary module was loaded"},
    {'F', "a module was loaded by force"},
    {'S', "a processor runs outside its specification"},
    {'R', "a module was unloaded by force"},
    {'M', "a processor reported a machine check"},
    {'B', "a bad memory page was found"},
    {'U', "a user program set the taint"},
    {'D', "the kernel had an oops"},
    {'A', "an ACPI table was overridden"},
    {'W', "the kernel issued a warning"},
    {'C', "a staging driver was loaded"},
    {'I', "the kernel works around a firmware bug"},
    {'O', "an out-of-tree module was loaded"},
    {'E', "an unsigned module was loaded"},
    {'L', "a soft lockup occurred"},
    {'K', "the kernel was live-patched"},
    {'X', "the distribution set its own taint"},
    {'T', "the kernel was built with randomised structure layout"},
    {'N', "an in-kernel test was run"},
    {'J', "a user program used a firmware debug interface"},
}};

bool Contains(const std::string& letters, char letter) {
    return letters.find(letter) != std::string::npos;
}

// Returns false if the kernel does not report a taint.
bool JudgeTaint(const std::string& path, const std::string& errors, const std::string& warnings,
                Report& report) {
    const std::optional<std::uint64_t> taint = ReadNumber(path, report);
    if (!taint) {
        return false;
    }
    std::string letters;
    for (std::size_t i = 0; i < kTaints.size(); ++i) {
        const char letter = kTaints[i].letter;
        if ((*taint >> i & 1U) == 0) {
            continue;
        }
        letters += letter;
        if (Contains(errors, letter) || Contains(warnings, letter)) {
            report.Find(Contains(errors, letter) ? Status::Error : Status::Warning,
                        std::string("the kernel is tainted ") + letter + ": " + kTaints[i].meaning +
                            "; only a reboot clears it");
        }
    }
    report.AddMetric({"taint", static_cast<double>(*taint), ""});
    report.AddText("taint", letters);
    report.Summarize(letters.empty() ? "not tainted" : "tainted " + letters);
    return true;
}

// The row "MCE:" of /proc/interrupts, with one column per processor. Kernels of other architectures
// lack it.
void JudgeMachineChecks(const std::string& path, const Limits& limits, Report& report) {
    std::optional<std::uint64_t> count;
    (void)ForEachLine(path, [&count](std::string_view line) {
        const std::vector<std::string_view> fields = SplitFields(line);
        if (fields.empty() || fields[0] != "MCE:") {
            return true;
        }
        count = 0;
        for (std::size_t i = 1; i < fields.size(); ++i) {
            *count += ParseNumber(fields[i]).value_or(0);  // the last columns are words
        }
        return false;
    });  // without the file nothing is counted
    if (count) {
        report.Judge("machine check exceptions:",
                     {"machine_checks", static_cast<double>(*count), "", limits}, Bad::High);
    }
}

// Returns false, after saying so in the report, if the kernel refuses the query.
bool JudgeClock(const ClockReader& readClock, bool isNeeded, Report& report) {
    const std::optional<ClockState> clock = readClock();
    if (!clock) {
        const std::string notChecked = "not checked: the kernel refused the query";
        report.AddText("clock", notChecked);
        report.Summarize("clock " + notChecked);
        return false;
    }
    report.AddMetric({"clock_synchronised", clock->isSynchronised ? 1.0 : 0.0, ""});
    report.AddMetric({"clock_maximum_error", clock->maximumErrorSeconds, "s"});
    if (isNeeded && !clock->isSynchronised) {
        report.Find(Status::Warning,
                    "the clock is not synchronised; check that a time service is running and "
                    "reaches its servers");
    }
    report.Summarize(clock->isSynchronised ? "clock synchronised" : "clock not synchronised");
    return true;
}

// "vmx" or "svm", which x86 processors list in the first "flags" line, or empty; nothing on other
// processors, which have no such line.
std::optional<std::string> ReadVirtualisationFlag(const std::string& path) {
    std::optional<std::string> flag;
    (void)ForEachLine(path, [&flag](std::string_view line) {
        const std::vector<std::string_view> fields = SplitFields(line);
        if (fields.empty() || fields[0].substr(0, 5) != "flags") {
            return true;
        }
        const auto found = std::find_if(fields.begin(), fields.end(), [](std::string_view field) {
            return field == "vmx" || field == "svm";
        });
        flag = found == fields.end() ? "" : std::string(*found);
        return false;
    });  // without the file there is no flag to be seen
    return flag;
}

void JudgeVirtualisation(const std::string& root, bool isNeeded, Report& report) {
    const bool hasDevice = Exists(root + "/dev/kvm");
    report.AddMetric({"kvm", hasDevice ? 1.0 : 0.0, ""});
    report.Summarize(hasDevice ? "can run virtual machines" : "cannot run virtual machines");
    if (hasDevice || !isNeeded) {
        return;
    }
    const std::optional<std::string> flag = ReadVirtualisationFlag(root + "/proc/cpuinfo");
    const std::string module = flag == "svm" ? "kvm_amd" : "kvm_intel";
    if (!flag) {
        report.Find(Status::Warning,
                    "virtual machines cannot run: /dev/kvm is missing; see the kernel log");
    } else if (flag->empty()) {
        report.Find(Status::Warning,
                    "virtual machines cannot run: the processor reports no virtualisation support; "
                    "enable it in the firmware setup");
    } else if (Exists(root + "/sys/module/" + module)) {
        report.Find(Status::Warning, "virtual machines cannot run: " + module +
                                         " is loaded, but /dev/kvm is missing; see the kernel "
                                         "log");
    } else {
        report.Find(Status::Warning, "virtual machines cannot run: the processor supports " +
                                         *flag + ", but /dev/kvm is missing; run: modprobe " +
                                         module);
    }
}

}  // namespace

std::optional<ClockState> ReadClockState() {
    constexpr double kMicrosecondsPerSecond = 1e6;
    timex state{};
    const int result = ::adjtimex(&state);
    if (result < 0) {
        return std::nullopt;
    }
    return ClockState{result != TIME_ERROR && (state.status & STA_UNSYNC) == 0,
                      static_cast<double>(state.maxerror) / kMicrosecondsPerSecond};
}

void CheckKernel(const std::string& root, const ClockReader& readClock, Settings& settings,
                 Report& report) {
    const std::string errors = settings.GetString("taint_error", kTaintsThatAreErrors);
    const std::string warnings = settings.GetString("taint_warning", kTaintsThatAreWarnings);
    const Limits machineChecks = settings.GetLimits("machine_checks", kMachineChecks, Bad::High);
    const bool needsClock = settings.GetBool("clock_synchronised", true);
    const bool needsVirtualisation = settings.GetBool("virtualisation", true);
    settings.RefuseUnknown();

    const bool hasTaint = JudgeTaint(root + "/proc/sys/kernel/tainted", errors, warnings, report);
    JudgeMachineChecks(root + "/proc/interrupts", machineChecks, report);
    const bool hasClock = JudgeClock(readClock, needsClock, report);
    JudgeVirtualisation(root, needsVirtualisation, report);
    if (!hasTaint && !hasClock && report.GetStatus() == Status::Ok) {
        report.Find(Status::None, "this kernel does not report its state");
    }
}

}  // namespace Checks
