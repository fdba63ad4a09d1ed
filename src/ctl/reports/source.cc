#include "ctl/reports/source.h"

#include "ctl/api/client.h"
#include "ctl/host/daemon_settings.h"
#include "ctl/show/failure.h"
#include "ctl/show/json_output.h"
#include "ctl/show/times.h"
#include "store/publisher.h"
#include "store/report_name.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <string_view>
#include <system_error>
#include <utility>

namespace Ctl {

namespace {

using OrderedJson = nlohmann::ordered_json;

struct CaseBlindLess {
    bool operator()(std::string_view a, std::string_view b) const {
        return std::lexicographical_compare(
            a.begin(), a.end(), b.begin(), b.end(), [](char one, char other) {
                return Sentrel::AsciiUpper(one) < Sentrel::AsciiUpper(other);
            });
    }
};
using ReportMap = std::map<std::string, StoredReport, CaseBlindLess>;

constexpr std::string_view kList = "com.korvex.oru.observability.reports.list";
// What was read replaces what was not. The name stays that of the link, and of two links whose
// names differ in case the newer report counts.
void Add(StoredReport report, ReportMap& reports) {
    const auto [entry, isNew] = reports.try_emplace(report.name, report);
    StoredReport& known = entry->second;
    if (!isNew && !report.status.empty() && (known.status.empty() || known.time < report.time)) {
        report.name = known.name;
        known = std::move(report);
    }
}

void AddListing(const ApiClient& api, const char* detail, const std::vector<std::string>& names,
                ReportMap& reports) {
    OrderedJson parameters = {{"detail", detail}};
    if (!names.empty()) {
        parameters["filter"] = {{"names", names}};
    }
    const OrderedJson result = api.Call(kList, parameters);
    const auto listed = result.find("reports");
    if (listed == result.end() || !listed->is_array()) {
        throw Failure("the API's answer holds no reports", "is --api right?");
    }
    for (const OrderedJson& report : *listed) {
        Add({TextOf(report, "name"), TextOf(report, "time"), TextOf(report, "status"),
             TextOf(report, "unstructured")},
            reports);
    }
}

// Of those that are wanted. They are asked for once more: the link of a name is gone for an instant
// while it is renewed.
std::vector<std::string> UnreadNames(const ReportMap& reports,
                                     const std::vector<std::string>& names) {
    std::vector<std::string> unread;
    for (const std::string& name : names) {
        const auto found = reports.find(name);
        if (found == reports.end() || found->second.status.empty()) {
            unread.push_back(name);
        }
    }
    for (const auto& [name, report] : reports) {
        if (names.empty() && report.status.empty()) {
            unread.push_back(name);
        }
    }
    return unread;
}

ReportMap ReadThroughApi(const ApiClient& api, const std::vector<std::string>& names) {
    ReportMap reports;
    AddListing(api, "BRIEF", {}, reports);
    AddListing(api, "FULL", names, reports);
    const std::vector<std::string> again = UnreadNames(reports, names);
    if (!again.empty()) {
        AddListing(api, "FULL", again, reports);
    }
    return reports;
}

// As the API writes it: what is not UTF-8 becomes U+FFFD.
std::string NormalName(const std::string& name) {
    return OrderedJson::parse(
               OrderedJson(name).dump(-1, ' ', false, OrderedJson::error_handler_t::replace))
        .get<std::string>();
}

void AddStored(const Sentrel::Publisher& publisher, const std::vector<std::string>& names,
               ReportMap& reports) {
    for (const Sentrel::ReportFile& file : publisher.ListReportFiles({})) {
        Add({NormalName(file.name), NormalTime(file.modified)}, reports);
    }
    for (Sentrel::Report& report : publisher.GetReports(names, {}, Sentrel::kNoStartTime)) {
        const std::string time = NormalTime(report.time);
        if (!time.empty()) {
            Add({std::move(report.name), time, StatusName(report.status),
                 std::move(report.unstructured)},
                reports);
        }
    }
}

std::vector<StoredReport> Sorted(ReportMap&& reports) {
    std::vector<StoredReport> sorted;
    sorted.reserve(reports.size());
    for (auto& [name, report] : reports) {
        sorted.push_back(std::move(report));
    }
    return sorted;
}

}  // namespace

std::string StatusName(int code) {
    constexpr const char* kNames[] = {"OK", "WARNING", "ERROR", "NONE", "UNKNOWN"};
    return code >= 0 && code < 4 ? kNames[code] : kNames[4];
}

std::vector<StoredReport> ReadStoredReports(const std::string& directory,
                                            const std::vector<std::string>& names) {
    const Sentrel::Publisher publisher(directory, SilentLogger());
    ReportMap reports;
    AddStored(publisher, names, reports);
    const std::vector<std::string> again = UnreadNames(reports, names);
    if (!again.empty()) {
        AddStored(publisher, again, reports);
    }
    return Sorted(std::move(reports));
}

std::vector<StoredReport> ReadReports(const Host& host, const std::vector<std::string>& names) {
    return host.isOffline ? ReadStoredReports(RequireReportDirectory(host), names)
                          : Sorted(ReadThroughApi(ConnectApi(host), names));
}

}  // namespace Ctl
