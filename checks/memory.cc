#include "checks/memory.h"

#include "checks/host_files.h"
#include "checks/pressure.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace Checks {

namespace {

using SentrelCheck::Bad;
using SentrelCheck::Limits;
using SentrelCheck::Report;
using SentrelCheck::Settings;
using SentrelCheck::Status;
using SentrelCheck::ToWords;

constexpr Limits kPressure{10, 40};
constexpr Limits kStall{5, 20};
constexpr Limits kAvailable{10, 5};
constexpr Limits kCorrectedErrors{10, 1000};
constexpr Limits kUncorrectedErrors{std::nullopt, 1};

// In KiB.
struct MemoryInfo {
    std::optional<std::uint64_t> total;
    std::optional<std::uint64_t> available;
    std::uint64_t hugePages = 0;
};

// "MemTotal:       16315476 kB"
bool ReadMemoryInfo(const std::string& path, MemoryInfo& info) {
    return ForEachLine(path, [&info](std::string_view line) {
        const std::vector<std::string_view> fields = SplitFields(line);
        if (fields.size() < 2) {
            return true;
        }
        if (fields[0] == "MemTotal:") {
            info.total = ParseNumber(fields[1]);
        } else if (fields[0] == "MemAvailable:") {
            info.available = ParseNumber(fields[1]);
        } else if (fields[0] == "Hugetlb:") {
            info.hugePages = ParseNumber(fields[1]).value_or(0);
        }
        return true;
    });
}

// Memory set aside as huge pages is given to guests and is never available: it does not count.
// Returns false if the host does not report its memory.
bool JudgeAvailable(const std::string& path, const Limits& limits, Report& report) {
    MemoryInfo info;
    if (!ReadMemoryInfo(path, info)) {
        return false;
    }
    if (!info.total || !info.available || *info.total <= info.hugePages) {
        FindGarbled(path, report);
        return false;
    }
    constexpr double kKiBPerMiB = 1024;
    const double total = static_cast<double>(*info.total - info.hugePages);
    const double share = Percent(static_cast<double>(*info.available), total);
    report.Judge("memory available", {"available", share, "%", limits}, Bad::Low);
    report.AddMetric({"available_size", static_cast<double>(*info.available) / kKiBPerMiB, "MiB"});
    report.Summarize("memory available " + ToWords(share) + " %");
    return true;
}

// Returns false if the kernel does not report pressure.
bool JudgeWaiting(const std::string& path, const Limits& pressureLimits, const Limits& stallLimits,
                  Report& report) {
    const std::optional<Pressure> some = ReadPressure(path, Share::Some, report);
    if (!some) {
        return false;
    }
    JudgePressure("memory pressure", "pressure", *some, pressureLimits, report);
    report.Summarize("memory pressure " + ToWords(some->average60) + " %");
    if (const std::optional<Pressure> full = ReadPressure(path, Share::Full, report)) {
        JudgePressure("time in which all tasks waited for memory", "stall", *full, stallLimits,
                      report);
    }
    return true;
}

// The errors that the memory controllers counted since their drivers started (EDAC). Returns
// false if the host has no such drivers.
bool JudgeControllers(const std::string& directory, const Limits& correctedLimits,
                      const Limits& uncorrectedLimits, Report& report) {
    std::optional<std::uint64_t> corrected;
    std::optional<std::uint64_t> uncorrected;
    for (const std::string& name : ListDirectory(directory)) {
        const std::string controller = std::string(directory).append("/").append(name);
        if (name.substr(0, 2) != "mc" || !Exists(controller + "/ce_count")) {
            continue;
        }
        corrected =
            corrected.value_or(0) + ReadNumber(controller + "/ce_count", report).value_or(0);
        uncorrected =
            uncorrected.value_or(0) + ReadNumber(controller + "/ue_count", report).value_or(0);
    }
    if (!corrected || !uncorrected) {
        return false;
    }
    report.Judge("corrected memory errors:",
                 {"corrected_errors", static_cast<double>(*corrected), "", correctedLimits},
                 Bad::High);
    report.Judge("uncorrected memory errors:",
                 {"uncorrected_errors", static_cast<double>(*uncorrected), "", uncorrectedLimits},
                 Bad::High);
    report.Summarize(std::to_string(*corrected) + " memory errors corrected");
    return true;
}

}  // namespace

void CheckMemory(const std::string& root, Settings& settings, Report& report) {
    const Limits pressure = settings.GetLimits("pressure", kPressure, Bad::High);
    const Limits stall = settings.GetLimits("stall", kStall, Bad::High);
    const Limits available = settings.GetLimits("available", kAvailable, Bad::Low);
    const Limits corrected = settings.GetLimits("corrected_errors", kCorrectedErrors, Bad::High);
    const Limits uncorrected =
        settings.GetLimits("uncorrected_errors", kUncorrectedErrors, Bad::High);
    settings.RefuseUnknown();

    const bool hasFigures = JudgeAvailable(root + "/proc/meminfo", available, report);
    const bool hasPressure = JudgeWaiting(root + "/proc/pressure/memory", pressure, stall, report);
    const bool hasControllers =
        JudgeControllers(root + "/sys/devices/system/edac/mc", corrected, uncorrected, report);
    if (!hasFigures && !hasPressure && !hasControllers && report.GetStatus() == Status::Ok) {
        report.Find(Status::None, "this kernel has no memory statistics");
    }
}

}  // namespace Checks
