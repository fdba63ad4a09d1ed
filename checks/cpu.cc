#include "checks/cpu.h"

#include "checks/host_files.h"
#include "checks/pressure.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>
#include <optional>
#include <string_view>
#include <vector>

namespace Checks {

namespace {

using SentrelCheck::Bad;
using SentrelCheck::Report;
using SentrelCheck::Settings;
using SentrelCheck::Status;
using SentrelCheck::ToWords;

constexpr SentrelCheck::Limits kPressure{50, 80};
constexpr SentrelCheck::Limits kSteal{5, 20};

// user, nice, system, idle, iowait, irq, softirq, steal; the guest times after them are part of
// user.
constexpr std::size_t kStates = 8;
constexpr std::size_t kStealState = 7;
using Ticks = std::array<std::uint64_t, kStates>;

// The line "cpu" of /proc/stat, the sum of all processors.
std::optional<Ticks> ReadTicks(const std::string& path, Report& report) {
    std::optional<Ticks> ticks;
    const bool isRead = ForEachLine(path, [&ticks](std::string_view line) {
        const std::vector<std::string_view> fields = SplitFields(line);
        if (fields.size() <= kStates || fields[0] != "cpu") {
            return false;
        }
        Ticks read{};
        for (std::size_t i = 0; i < kStates; ++i) {
            const std::optional<std::uint64_t> number = ParseNumber(fields[i + 1]);
            if (!number) {
                return false;
            }
            read[i] = *number;
        }
        ticks = read;
        return false;  // "cpu" is the first line
    });
    if (isRead && !ticks) {
        FindGarbled(path, report);
    }
    return ticks;
}

// Steal as a percentage of the time between the two, or of the time since boot if none has passed.
double StealBetween(const Ticks& before, const Ticks& after) {
    Ticks passed{};
    for (std::size_t i = 0; i < kStates; ++i) {
        passed[i] = after[i] - std::min(before[i], after[i]);  // some counters may step back
    }
    const Ticks& base = passed == Ticks{} ? after : passed;
    const std::uint64_t total = std::accumulate(base.begin(), base.end(), std::uint64_t{0});
    return Percent(static_cast<double>(base[kStealState]), static_cast<double>(total));
}

}  // namespace

void CheckCpu(const std::string& root, const std::function<void()>& pause, Settings& settings,
              Report& report) {
    const SentrelCheck::Limits pressureLimits =
        settings.GetLimits("pressure", kPressure, Bad::High);
    const SentrelCheck::Limits stealLimits = settings.GetLimits("steal", kSteal, Bad::High);
    settings.RefuseUnknown();

    const std::optional<Pressure> pressure =
        ReadPressure(root + "/proc/pressure/cpu", Share::Some, report);
    if (pressure) {
        JudgePressure("processor pressure", "pressure", *pressure, pressureLimits, report);
        report.Summarize("processor pressure " + ToWords(pressure->average60) + " %");
    }
    const std::string statPath = root + "/proc/stat";
    const std::optional<Ticks> before = ReadTicks(statPath, report);
    std::optional<Ticks> after;
    if (before) {
        pause();
        after = ReadTicks(statPath, report);
    }
    if (after) {
        const double steal = StealBetween(*before, *after);
        report.Judge("processor time given to other machines by the hypervisor:",
                     {"steal", steal, "%", stealLimits}, Bad::High);
        report.Summarize("steal " + ToWords(steal) + " %");
    }
    if (!pressure && !after && report.GetStatus() == Status::Ok) {
        report.Find(Status::None, "this kernel has no processor statistics");
    }
}

}  // namespace Checks
