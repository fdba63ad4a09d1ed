#include "checks/sensors.h"

#include "checks/host_files.h"

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

namespace Checks {

namespace {

using SentrelCheck::Bad;
using SentrelCheck::Limits;
using SentrelCheck::MatchesAny;
using SentrelCheck::Report;
using SentrelCheck::Settings;
using SentrelCheck::Status;

constexpr double kThousand = 1000;  // temperatures are in thousandths of a degree

struct Sensor {
    std::string base;  // path of its files up to the "_": ".../hwmon0/temp1"
    std::string name;  // "coretemp.Package id 0", "nct6775.fan2"
};

// A number that may be negative; nothing if the chip lacks the file or does not answer.
std::optional<double> ReadValue(const Sensor& sensor, const char* part) {
    const std::string text = ReadSmallFile(sensor.base + part).value_or("");
    long value = 0;
    const char* end = text.data() + text.size();
    const auto [rest, problem] = std::from_chars(text.data(), end, value);
    return problem == std::errc() && rest == end && !text.empty()
               ? std::optional(static_cast<double>(value))
               : std::nullopt;
}

bool IsSet(const Sensor& sensor, const char* part) {
    return ReadValue(sensor, part).value_or(0) != 0;
}

// Some chips report limits that no firmware has set: 0, or temperatures beyond any hardware's.
std::optional<double> ReadLimit(const Sensor& sensor, const char* part) {
    constexpr double kHottest = 150;
    const std::optional<double> limit = ReadValue(sensor, part);
    return limit && *limit > 0 && *limit / kThousand < kHottest ? std::optional(*limit / kThousand)
                                                                : std::nullopt;
}

void JudgeTemperature(const Sensor& sensor, const Limits& ownLimits, Report& report) {
    const std::optional<double> value = ReadValue(sensor, "_input");
    if (!value) {
        return;
    }
    Limits limits = ownLimits;
    if (!limits.critical) {
        limits.critical = ReadLimit(sensor, "_crit");
    }
    if (!limits.warning) {
        limits.warning = ReadLimit(sensor, "_max");
        if (limits.warning && limits.critical && *limits.warning >= *limits.critical) {
            limits.warning.reset();
        }
    }
    report.Judge(sensor.name + ":", {sensor.name, *value / kThousand, "°C", limits}, Bad::High);
    if (IsSet(sensor, "_crit_alarm") || IsSet(sensor, "_emergency_alarm")) {
        report.Find(Status::Error, sensor.name + " raises its critical alarm");
    }
}

void JudgeFan(const Sensor& sensor, Report& report) {
    const std::optional<double> speed = ReadValue(sensor, "_input");
    if (!speed) {
        return;
    }
    const std::optional<double> least = ReadValue(sensor, "_min");
    const Limits limits{least && *least > 0 ? least : std::nullopt, {}};
    // A connector without a fan reports 0 and has no limit.
    if (*speed > 0 || limits.warning) {
        report.Judge(sensor.name + ":", {sensor.name, *speed, "rpm", limits}, Bad::Low);
    }
}

// Also applies to voltages, currents and power, whose values mean nothing without the board's
// manual.
void JudgeAlarms(const Sensor& sensor, Report& report) {
    if (IsSet(sensor, "_fault")) {
        report.Find(Status::Warning, sensor.name + " is faulty");
    } else if (IsSet(sensor, "_alarm")) {
        report.Find(Status::Warning, sensor.name + " raises its alarm");
    }
}

// The sensors of a chip, one per file "KINDn_input".
std::vector<Sensor> ListSensors(const std::string& chipDirectory) {
    constexpr std::string_view kInput = "_input";
    const std::string chip = ReadSmallFile(chipDirectory + "/name").value_or("");
    std::vector<Sensor> sensors;
    for (const std::string& file : ListDirectory(chipDirectory)) {
        if (file.ends_with(kInput)) {
            const std::string id = file.substr(0, file.size() - kInput.size());
            const std::string base = chipDirectory + "/" + id;
            const std::string label = ReadSmallFile(base + "_label").value_or("");
            sensors.push_back({base, chip + "." + (label.empty() ? id : label)});
        }
    }
    return sensors;
}

bool IsOfKind(const Sensor& sensor, std::string_view kind) {
    const std::string id = sensor.base.substr(sensor.base.rfind('/') + 1);
    return id.starts_with(kind);
}

}  // namespace

void CheckSensors(const std::string& root, Settings& settings, Report& report) {
    const Limits temperature = settings.GetLimits("temperature", {}, Bad::High);
    const std::vector<std::string> ignored = settings.GetList("ignore");
    settings.RefuseUnknown();

    const std::string hwmon = root + "/sys/class/hwmon/";
    int count = 0;
    for (const std::string& chip : ListDirectory(hwmon)) {
        for (const Sensor& sensor : ListSensors(hwmon + chip)) {
            if (MatchesAny(ignored, sensor.name)) {
                continue;
            }
            ++count;
            if (IsOfKind(sensor, "temp")) {
                JudgeTemperature(sensor, temperature, report);
            } else if (IsOfKind(sensor, "fan")) {
                JudgeFan(sensor, report);
            }
            JudgeAlarms(sensor, report);
        }
    }
    if (count == 0) {
        report.Find(Status::None, "this host has no sensors that the kernel can read");
    }
    report.Summarize(std::to_string(count) + " sensors are within their limits");
}

}  // namespace Checks
