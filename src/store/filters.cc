// Compares numbers and names. report_name compares names, report_time parses times.
#include "store/filters.h"

#include "store/report_name.h"
#include "store/report_time.h"

#include <algorithm>
#include <chrono>
#include <optional>

namespace Sentrel {

namespace {

using Pellmar::Ref;
using Pellmar::Service::Logger;
using Pellmar::Service::LogInternal;

std::string WordsOf(const std::vector<std::int32_t>& statuses) {
    std::string words = "[ ";
    for (const std::int32_t status : statuses) {
        words.append(StatusToString(status)).append(" ");
    }
    return words += "]";
}

}  // namespace

// FNV-1a over the capitalised bytes.
std::size_t NameFilter::CaseBlindHash::operator()(std::string_view name) const {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char byte : name) {
        hash ^= static_cast<unsigned char>(AsciiUpper(byte));
        hash *= 0x100000001B3;
    }
    return hash;
}

bool NameFilter::CaseBlindEqual::operator()(std::string_view one, std::string_view other) const {
    return IsSameReportName(one, other);
}

NameFilter::NameFilter(const std::vector<std::string>& names, const Ref<Logger>& logger)
    : names(names.begin(), names.end()), logger(logger) {}

bool NameFilter::Apply(std::string_view reportName) const {
    return names.empty() || names.contains(reportName);
}

StatusFilter::StatusFilter(const std::vector<std::int32_t>& statuses, const Ref<Logger>& logger)
    : statuses(statuses), logger(logger) {}

bool StatusFilter::Apply(const Report& report) const {
    if (statuses.empty()) {
        return true;
    }
    if (logger->GetLevel() >= 6) {
        LogInternal(logger, 6, "Checking for report.status = %1 in %2",
                    StatusToString(report.status), WordsOf(statuses));
    }
    return std::find(statuses.begin(), statuses.end(), report.status) != statuses.end();
}

TimeFilter::TimeFilter(std::int64_t startTime, const Ref<Logger>& logger)
    : startTime(startTime), logger(logger) {}

bool TimeFilter::Apply(const Report& report) const {
    const std::optional<std::time_t> created = ReadReportTime(report.time);
    if (!created) {
        LogInternal(logger, 3, "Failed to parse date/time: %1", report.time);
        return false;
    }
    const std::chrono::nanoseconds start(startTime);
    using std::chrono::seconds;
    LogInternal(logger, 6, "Time filter: Start time: %1 Report creation time: %2",
                std::chrono::duration_cast<seconds>(start).count(), *created);
    // In seconds, since the nanoseconds of a year such as 9999 overflow.
    return seconds(*created) >= std::chrono::ceil<seconds>(start);
}

}  // namespace Sentrel
