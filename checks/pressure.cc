#include "checks/pressure.h"

#include "checks/host_files.h"

#include <charconv>
#include <cmath>
#include <system_error>
#include <vector>

namespace Checks {

namespace {

// "avg60=12.34" for the name "avg60=".
std::optional<double> ParseAverage(std::string_view field, std::string_view name) {
    double value = 0;
    if (field.substr(0, name.size()) != name) {
        return std::nullopt;
    }
    field.remove_prefix(name.size());
    const char* end = field.data() + field.size();
    const auto [rest, problem] =
        std::from_chars(field.data(), end, value, std::chars_format::fixed);
    return problem == std::errc() && rest == end && std::isfinite(value) ? std::optional(value)
                                                                         : std::nullopt;
}

// "some avg10=0.00 avg60=0.00 avg300=0.00 total=0"
std::optional<Pressure> ParseLine(const std::vector<std::string_view>& fields) {
    if (fields.size() < 4) {
        return std::nullopt;
    }
    const std::optional<double> average10 = ParseAverage(fields[1], "avg10=");
    const std::optional<double> average60 = ParseAverage(fields[2], "avg60=");
    const std::optional<double> average300 = ParseAverage(fields[3], "avg300=");
    if (!average10 || !average60 || !average300) {
        return std::nullopt;
    }
    return Pressure{*average10, *average60, *average300};
}

}  // namespace

std::optional<Pressure> ReadPressure(const std::string& path, Share share,
                                     SentrelCheck::Report& report) {
    const std::string_view wanted = share == Share::Some ? "some" : "full";
    std::optional<Pressure> pressure;
    bool isGarbled = true;
    const bool isRead = ForEachLine(path, [&](std::string_view line) {
        const std::vector<std::string_view> fields = SplitFields(line);
        if (!fields.empty() && (fields[0] == "some" || fields[0] == "full")) {
            isGarbled = false;  // unless the wanted line follows and is malformed
        }
        if (fields.empty() || fields[0] != wanted) {
            return true;
        }
        pressure = ParseLine(fields);
        isGarbled = !pressure;
        return false;
    });
    if (isRead && isGarbled) {
        FindGarbled(path, report);
    }
    return pressure;
}

void JudgePressure(std::string_view subject, const std::string& name, const Pressure& pressure,
                   const SentrelCheck::Limits& limits, SentrelCheck::Report& report) {
    report.AddMetric({name + "_avg10", pressure.average10, "%"});
    report.Judge(subject, {name + "_avg60", pressure.average60, "%", limits},
                 SentrelCheck::Bad::High);
    report.AddMetric({name + "_avg300", pressure.average300, "%"});
}

}  // namespace Checks
