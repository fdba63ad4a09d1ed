#include "ctl/reports/source.h"

#include "ctl/api/client.h"
#include "ctl/host/daemon_settings.h"
#include "ctl/show/failure.h"
#include "ctl/show/json_output.h"
#include "ctl/show/note.h"
#include "ctl/show/times.h"
#include "ctl/show/words.h"
#include "store/publisher.h"
#include "store/report.h"
#include "store/report_name.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <map>
#include <string_view>
#include <system_error>
#include <utility>

#include <unistd.h>

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
// The API omits reports beyond 64 MiB of texts in a listing. A listing of at least this size may
// lack reports: the remaining space was less than the longest report.
constexpr std::size_t kNearlyFull = (std::size_t{64} << 20) - Sentrel::kMaxStoredSize;
constexpr std::size_t kNamesOfGroup = 32;

// A report that was read replaces one that was not. The name stays that of the link; of two links
// whose names differ in case, the newer report counts.
void Add(StoredReport report, ReportMap& reports) {
    StoredReport& known = reports[report.name];
    if (known.name.empty()) {
        known = std::move(report);
    } else if (!report.status.empty() && (known.status.empty() || known.time < report.time)) {
        report.name = known.name;
        known = std::move(report);
    }
}

// Adds the reports of a listing, and returns the size of their texts in bytes.
std::size_t AddListing(ApiClient& api, const char* detail, const std::vector<std::string>& names,
                       ReportMap& reports) {
    OrderedJson parameters = {{"detail", detail}};
    if (!names.empty()) {
        parameters["filter"] = {{"names", names}};
    }
    const OrderedJson result = api.Call(kList, parameters);
    const auto listed = result.find("reports");
    if (listed == result.end() || !listed->is_array()) {
        throw Failure("the API's answer has no list of reports", "check --api");
    }
    std::size_t bytes = 0;
    for (const OrderedJson& report : *listed) {
        StoredReport stored{TextOf(report, "name"), TextOf(report, "time"),
                            TextOf(report, "status"), TextOf(report, "unstructured")};
        bytes += stored.unstructured.size();
        Add(std::move(stored), reports);
    }
    return bytes;
}

// The wanted names whose reports were not read.
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

// Requests the reports that are missing from a full listing. Each answer contains at least one
// report, so this ends.
void AddInGroups(ApiClient& api, std::vector<std::string> names, ReportMap& reports) {
    while (!names.empty()) {
        const auto start =
            names.end() - static_cast<std::ptrdiff_t>(std::min(names.size(), kNamesOfGroup));
        const std::vector<std::string> group(start, names.end());
        names.erase(start, names.end());
        if (AddListing(api, "FULL", group, reports) >= kNearlyFull) {
            const std::vector<std::string> unread = UnreadNames(reports, group);
            names.insert(names.end(), unread.begin(), unread.end());
        }
    }
}

ReportMap ReadThroughApi(ApiClient& api, const std::vector<std::string>& names) {
    ReportMap reports;
    (void)AddListing(api, "BRIEF", {}, reports);
    std::size_t bytes = kNearlyFull;
    try {
        bytes = AddListing(api, "FULL", names, reports);
    } catch (const Failure& failure) {
        // A slow host may need too long for all of them, but not for a group.
        const std::size_t count = names.empty() ? reports.size() : names.size();
        if (failure.ErrorNumber() != ETIMEDOUT || count <= kNamesOfGroup) {
            throw;
        }
    }
    if (bytes >= kNearlyFull) {
        AddInGroups(api, UnreadNames(reports, names), reports);
    } else if (!names.empty()) {
        // read again: a link is missing for an instant while it is renewed
        const std::vector<std::string> again = UnreadNames(reports, names);
        if (!again.empty()) {
            (void)AddListing(api, "FULL", again, reports);
        }
    }
    return reports;
}

// Throws Failure if reports are stored or requested, although the API lists none.
void ExplainEmptyListing(const Host& host, const std::vector<std::string>& names) {
    const std::string& directory = host.reportDirectory;
    if (::access(directory.c_str(), R_OK | X_OK) == 0) {
        const std::size_t stored =
            Sentrel::Publisher(directory, SilentLogger()).ListReportFiles({}).size();
        if (stored != 0) {
            throw Failure("the API lists no reports, but " + Counted(stored, "report") +
                              (stored == 1 ? " is" : " are") + " stored in " + directory +
                              ": the daemon cannot read it, or uses another directory",
                          "run \"sentrelctl doctor\" as root");
        }
        return;
    }
    const int errorNumber = errno;
    if (errorNumber != EACCES) {
        throw Failure("the API lists no reports; cannot read " + directory, errorNumber,
                      "run \"sentrelctl doctor\" as root");
    }
    const std::string happened = "the API lists no reports";
    const std::string advice = "if you expect some, run \"sentrelctl doctor\" as root";
    if (!names.empty()) {
        throw Failure(happened, advice);
    }
    NoteOnce(happened + "; " + advice);
}

// The name as the API writes it: bytes that are not UTF-8 become U+FFFD.
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

// Throws Failure if this user lacks the permission to read one of those reports.
void RequireReadable(const std::string& directory, const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        const std::string path = directory + Sentrel::LinkName(name);
        if (::access(path.c_str(), R_OK) != 0 && errno == EACCES) {
            throw Failure("the report " + path + " cannot be read", EACCES,
                          "run this as root, or as a member of its group");
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
        RequireReadable(directory, UnreadNames(reports, again));
    }
    return Sorted(std::move(reports));
}

std::vector<StoredReport> ListReports(const Host& host) {
    ReportMap reports;
    ApiClient api = ConnectApi(host);
    (void)AddListing(api, "BRIEF", {}, reports);
    return Sorted(std::move(reports));
}

std::vector<StoredReport> ReadReports(const Host& host, const std::vector<std::string>& names) {
    if (host.isOffline) {
        return ReadStoredReports(RequireReportDirectory(host), names);
    }
    ApiClient api = ConnectApi(host);
    const std::string& directory = host.reportDirectory;
    if (!api.HasToken() && ::access(directory.c_str(), R_OK | X_OK) == 0) {
        NoteOnce("no token for the API; reading " + directory);
        return ReadStoredReports(directory, names);
    }
    ReportMap reports = ReadThroughApi(api, names);
    if (reports.empty()) {
        ExplainEmptyListing(host, names);
    }
    return Sorted(std::move(reports));
}

}  // namespace Ctl
