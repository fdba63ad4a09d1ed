// Where the commands have the newest reports from: the API, or the report directory itself.
#pragma once

#include "ctl/api/client.h"
#include "ctl/command/command.h"

#include <string>
#include <vector>

namespace Ctl {

// The newest report of one name.
struct StoredReport {
    std::string name;
    // UTC, RFC 3339: when it was made; when its file was written, if it cannot be read.
    std::string time;
    std::string status = {};        // "OK", ...; empty when it cannot be read
    std::string unstructured = {};  // JSON text
};

inline constexpr Option kOfflineOption = {"--offline", "",
                                          "read the report directory; no daemon is needed"};
inline constexpr Option kReportsOption = {
    "--reports", "DIR",
    "the report directory of the host, /var/lib/korvex/sentrel/reports by default",
    Completes::Directory};

// All reports, sorted by name, each name once, case aside. Read are those of `names`, or all when
// there are none; of the others the name and the file's time are known. Through the API, or with
// --offline from the directory. Throws what ApiClient throws, and Failure when the
// directory cannot be read.
std::vector<StoredReport> ReadReports(const GivenOptions& options,
                                      const std::vector<std::string>& names);

// The same from a directory, whose path is this machine's and ends in a slash.
std::vector<StoredReport> ReadStoredReports(const std::string& directory,
                                            const std::vector<std::string>& names);

// The directory that --reports or its default names, below the host root, with a slash at its end.
// Throws Failure when it cannot be read.
std::string FindReportDirectory(const GivenOptions& options);

// What a report's status code is called; UNKNOWN for other codes.
std::string StatusName(int code);

}  // namespace Ctl
