#include "quon/reports/reports_impl.h"

#include "platform/bindings/std_errors.h"
#include "quon/reports/result_builders.h"

#include <utility>
#include <vector>

namespace Com::Korvex::Oru::Observability::ReportsSvc {

namespace {

namespace Errors = Com::Korvex::Quon::Std::Errors;

// Empty means no restriction.
std::vector<std::string> RequestedNames(const std::optional<FilterSpec>& filter) {
    if (!filter || !filter->names) {
        return {};
    }
    return {filter->names->begin(), filter->names->end()};
}

}  // namespace

ReportsImpl::ReportsImpl(const Pellmar::Ref<Pellmar::Service::Logger>& logger,
                         std::shared_ptr<const Sentrel::Publisher> publisher)
    : logger(Pellmar::Service::Logger::CreateLogger(logger, "ReportsImpl")),
      publisher(std::move(publisher)) {}

void ReportsImpl::Get(const std::string& name, const ::Quon::CallContext& /*context*/,
                      ::Quon::AsyncResult<std::shared_ptr<const Info>> result) {
    LogInternal(logger, 7, "Get() operation invoked for %1 report.", name);
    if (name.empty()) {
        LogInternal(logger, 3, "Report not found: empty report name");
        result.SetError(ToErrorValue(Errors::NotFound{}));
        return;
    }
    std::vector<Sentrel::Report> reports = publisher->GetReports(
        {name}, {}, Sentrel::kNoStartTime, {.maxTextBytes = kMaxResultTextBytes});
    if (reports.size() > 1) {
        LogInternal(logger, 3, "multiple reports found: %1", reports.size());
        result.SetError(ToErrorValue(Errors::Error{}));
        return;
    }
    if (reports.empty()) {
        LogInternal(logger, 3, "%1 report not found.", name);
        result.SetError(ToErrorValue(Errors::NotFound{}));
        return;
    }
    std::shared_ptr<const Info> info = BuildInfo(std::move(reports.front()), logger);
    if (info == nullptr) {
        result.SetError(ToErrorValue(Errors::Error{}));
        return;
    }
    result.SetValue(std::move(info));
}

void ReportsImpl::List(const std::optional<FilterSpec>& filter, std::optional<DetailLevel> detail,
                       const ::Quon::CallContext& context,
                       ::Quon::AsyncResult<std::shared_ptr<const ListResult>> result) {
    LogInternal(logger, 7, "List() invoked");
    const std::vector<std::string> names = RequestedNames(filter);
    if (detail != DetailLevel::FULL) {
        result.SetValue(BuildBriefListing(publisher->ListReportFiles(names), logger));
        return;
    }
    std::vector<Sentrel::Report> reports = publisher->GetReports(
        names, {}, Sentrel::kNoStartTime,
        {.maxTextBytes = kMaxResultTextBytes, .isAbandoned = context.isAbandoned});
    if (context.isAbandoned && context.isAbandoned()) {
        result.SetError(ToErrorValue(Errors::Error{}));  // some may be missing
        return;
    }
    LogInternal(logger, 7, "Reports retrieved by Publisher: %1", reports.size());
    result.SetValue(BuildFullListing(std::move(reports), logger));
}

}  // namespace Com::Korvex::Oru::Observability::ReportsSvc
