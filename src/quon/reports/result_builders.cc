#include "quon/reports/result_builders.h"

#include "platform/runtime/values/date_time.h"

#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace Com::Korvex::Oru::Observability::ReportsSvc {

namespace {

using Pellmar::Ref;
using Pellmar::Service::Logger;

constexpr std::string_view kModifiedTimeFailure =
    "Error converting report %1 modified time: %2 to Quon Datetime: %3. %4";
constexpr std::string_view kCreationTimeFailure =
    "Error converting report %1 creation time: %2 to Quon Datetime: %3. %4";

std::optional<::Quon::DateTime> ToDateTime(const std::string& text, std::string_view failure,
                                           const std::string& reportName,
                                           const Ref<Logger>& logger) {
    std::error_code error;
    const ::Quon::DateTime time = ::Quon::DateTime::Create(text, error);
    if (error) {
        LogInternal(logger, 3, failure, reportName, text, time.ToString(), error.message());
        return std::nullopt;
    }
    return time;
}

}  // namespace

Status ToStatus(std::int32_t code) {
    const bool known = static_cast<std::uint32_t>(code) <= Sentrel::kStatusUnknown;
    return known ? static_cast<Status>(code) : Status::UNKNOWN;
}

std::shared_ptr<const ListResult> BuildBriefListing(std::vector<Sentrel::ReportFile> files,
                                                    const Ref<Logger>& logger) {
    const auto result = std::make_shared<ListResult>();
    result->reports.reserve(files.size());
    for (Sentrel::ReportFile& file : files) {
        const std::optional<::Quon::DateTime> time =
            ToDateTime(file.modified, kModifiedTimeFailure, file.name, logger);
        if (time) {
            result->reports.push_back(
                std::make_shared<Summary>(Summary{std::move(file.name), *time, {}, {}}));
        }
    }
    return result;
}

std::shared_ptr<const ListResult> BuildFullListing(std::vector<Sentrel::Report> reports,
                                                   const Ref<Logger>& logger) {
    const auto result = std::make_shared<ListResult>();
    result->reports.reserve(reports.size());
    for (Sentrel::Report& report : reports) {
        const std::optional<::Quon::DateTime> time =
            ToDateTime(report.time, kCreationTimeFailure, report.name, logger);
        if (time) {
            result->reports.push_back(std::make_shared<Summary>(
                Summary{std::move(report.name), *time, ToStatus(report.status),
                        std::move(report.unstructured)}));
        }
    }
    return result;
}

std::shared_ptr<const Info> BuildInfo(Sentrel::Report report, const Ref<Logger>& logger) {
    const std::optional<::Quon::DateTime> time =
        ToDateTime(report.time, kCreationTimeFailure, report.name, logger);
    if (!time) {
        return nullptr;
    }
    return std::make_shared<Info>(
        Info{*time, ToStatus(report.status), std::move(report.unstructured)});
}

}  // namespace Com::Korvex::Oru::Observability::ReportsSvc
