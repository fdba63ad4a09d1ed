// Runs the two queries: walks the links of the directory, then reads their reports and applies the
// filters.
#include "store/publisher.h"

#include "store/report_name.h"
#include "store/report_time.h"
#include "store/report_walk.h"

#include <cerrno>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include <sys/stat.h>

namespace Sentrel {

namespace {

using Pellmar::Ref;
using Pellmar::Service::Logger;
using Pellmar::Service::LogInternal;

std::string SystemText(int errorNumber) { return std::system_category().message(errorNumber); }

// Like std::filesystem::path::stem: a leading dot does not start an extension.
std::string_view StemOf(std::string_view fileName) {
    const std::size_t dot = fileName.rfind('.');
    return dot == 0 ? fileName : fileName.substr(0, dot);
}

// The target of an entry that is a link, NUL-terminated.
std::optional<std::string_view> TargetOf(ReportWalk& walk, const Ref<Logger>& logger) {
    std::error_code failure;
    const bool isLink = walk.IsSymbolicLink(failure);
    if (failure) {
        LogInternal(logger, 3, "Error checking for symlink: %1 %2", walk.Path(), failure.message());
        return std::nullopt;
    }
    if (!isLink) {
        LogInternal(logger, 7, "Not a symlink: %1", walk.Path());
        return std::nullopt;
    }
    const std::string_view target = walk.ReadLink(failure);
    if (failure) {
        LogInternal(logger, 3, "Error reading symlink: %1 %2", walk.Path(), failure.message());
        return std::nullopt;
    }
    return target;
}

// When the link's target (NUL-terminated) was modified, if it is a regular file.
std::optional<std::filesystem::file_time_type> ModifiedTimeOf(std::string_view target,
                                                              const std::string& link,
                                                              const Ref<Logger>& logger) {
    struct stat status{};
    const int error = ::stat(target.data(), &status) == 0 ? 0 : errno;
    if (error != 0 || !S_ISREG(status.st_mode)) {
        LogInternal(logger, 3, "Target of symlink: %1 -> %2 is not a regular file: %3", link,
                    target, SystemText(error));
        return std::nullopt;
    }
    const auto modified = ToFileTime(status.st_mtim);
    if (!modified) {
        LogInternal(logger, 3, "Error retrieving file modified time for file: %1. %2", target,
                    SystemText(EOVERFLOW));
    }
    return modified;
}

}  // namespace

Publisher::Publisher(std::string directory, const Ref<Logger>& logger)
    : directory(std::move(directory)), logger(logger) {
    LogInternal(logger, 5, "Publishing reports from: %1", this->directory);
}

std::vector<ReportFile> Publisher::ListReportFiles(const std::vector<std::string>& names) const {
    return EnumerateReports(NameFilter(names, logger));
}

std::vector<Report> Publisher::GetReports(const std::vector<std::string>& names,
                                          const std::vector<std::int32_t>& statuses,
                                          std::int64_t startTime, const QueryLimits& limits) const {
    std::vector<std::shared_ptr<Filter>> filters;
    if (!statuses.empty()) {
        LogInternal(logger, 6, "Added status filter");
        filters.push_back(std::make_shared<StatusFilter>(statuses, logger));
    }
    if (startTime != kNoStartTime) {
        LogInternal(logger, 6, "Added time filter");
        filters.push_back(std::make_shared<TimeFilter>(startTime, logger));
    }
    return FilterReports(NameFilter(names, logger), filters, limits);
}

std::vector<ReportFile> Publisher::EnumerateReports(const Prefilter& prefilter) const {
    std::vector<ReportFile> files;
    ReportWalk walk(directory);
    while (walk.Next()) {
        LogInternal(logger, 7, "Checking file: %1.", walk.Path());
        const std::optional<std::string_view> target = TargetOf(walk, logger);
        if (!target) {
            continue;
        }
        const auto modified = ModifiedTimeOf(*target, walk.Path(), logger);
        if (!modified) {
            continue;
        }
        LogInternal(logger, 7, "Checking file: %1.", walk.Path());
        const std::string_view name = StemOf(walk.Name());
        if (!prefilter.Apply(name)) {
            LogInternal(logger, 6, "Report: %1 (%2) rejected by prefilter.", name, *target);
            continue;
        }
        files.push_back({std::string(name), std::string(*target), FormatModifiedTime(*modified)});
    }
    if (walk.Error()) {
        LogInternal(logger, 3, "Error enumerating reports in path: %1. %2 (%3)", directory,
                    walk.Error().message(), walk.Error().value());
    }
    return files;
}

std::vector<Report> Publisher::FilterReports(const Prefilter& prefilter,
                                             const std::vector<std::shared_ptr<Filter>>& filters,
                                             const QueryLimits& limits) const {
    std::vector<Report> reports;
    std::size_t unusedBytes = limits.maxTextBytes;
    for (const ReportFile& file : EnumerateReports(prefilter)) {
        if (limits.isAbandoned && limits.isAbandoned()) {
            break;
        }
        Report report = ReadReport(file.path, unusedBytes, limits.maxTextBytes);
        if (!IsSameReportName(report.name, file.name)) {
            LogInternal(logger, 3, "Report name: %1 does not match filename: %2. Skipping %2",
                        report.name, file.name);
            continue;
        }
        if (PassesAll(report, filters)) {
            unusedBytes -= TextBytes(report);
            reports.push_back(std::move(report));
        }
    }
    return reports;
}

// Applies every filter, so that the log shows all that reject the report.
bool Publisher::PassesAll(const Report& report,
                          const std::vector<std::shared_ptr<Filter>>& filters) const {
    bool passes = true;
    for (const std::shared_ptr<Filter>& filter : filters) {
        if (!filter->Apply(report)) {
            LogInternal(logger, 6, "Report: %1 rejected by filter: %2. Skipping %1", report.name,
                        filter->Name());
            passes = false;
        }
    }
    return passes;
}

}  // namespace Sentrel
