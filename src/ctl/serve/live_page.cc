#include "ctl/serve/live_page.h"

#include "ctl/page/page.h"
#include "ctl/sight/daemon_text.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <utility>

namespace Ctl {

using OrderedJson = nlohmann::ordered_json;

namespace {

constexpr const char* kEvents = "/events?since=";

}  // namespace

LivePage::LivePage(const HostWatch& watch) : watch(watch) {
    Renew();
    AddFindings(watch.GetHost(), view);
}

void LivePage::Renew() {
    std::vector<Finding> findings = std::move(view.findings);
    view = watch.View();
    view.findings = std::move(findings);
    AddStoredReports(watch.GetHost(), view);
}

void LivePage::Take(const HostChanges& changes) {
    if (changes.reports.empty() && !changes.isDaemon) {
        view.launches = watch.View().launches;
        return;
    }
    ++newest;
    Renew();
    for (const ReportChange& change : changes.reports) {
        changed.insert_or_assign(change.name, newest);
    }
    if (changes.isDaemon) {
        AddFindings(watch.GetHost(), view);
        findingsChanged = newest;
    }
}

std::string LivePage::Notice() const {
    if (!view.problem.empty()) {
        return view.problem;
    }
    return watch.DaemonRuns() ? "" : "sentrel is not running: reports are not updated";
}

std::string LivePage::Policy() { return PagePolicy(kEvents); }

std::string LivePage::Document() {
    Renew();  // with current ages
    for (ViewedReport& report : view.reports) {
        if (report.judged.age) {
            report.judged.age =
                *report.judged.age + std::chrono::duration_cast<std::chrono::seconds>(
                                         std::chrono::system_clock::now() - view.now);
        }
    }
    view.now = std::chrono::system_clock::now();
    return PageHtml(view, {.host = HostName(),
                           .version = SENTREL_VERSION,
                           .daemon = DaemonText(watch.GetHost()),
                           .command = "sentrelctl serve",
                           .events = kEvents + std::to_string(newest),
                           .notice = Notice()});
}

std::string LivePage::UpdateSince(Version version) const {
    OrderedJson rows = OrderedJson::object();
    for (const auto& [name, time] : changed) {
        if (time > version) {
            rows[name] = "";
        }
    }
    for (const ViewedReport& report : view.reports) {
        const auto row = rows.find(report.judged.report.name);
        if (row != rows.end()) {
            *row = RowHtml(report, view);
        }
    }
    OrderedJson sections = {{"notice", NoticeHtml(Notice())},
                            {"pills", PillsHtml(view)},
                            {"problems", ProblemsHtml(view)},
                            {"hour", HourHtml(view)}};
    if (findingsChanged > version) {
        sections["findings"] = FindingsHtml(view);
    }
    return OrderedJson({{"sections", std::move(sections)}, {"rows", std::move(rows)}})
        .dump(-1, ' ', false, OrderedJson::error_handler_t::replace);
}

}  // namespace Ctl
