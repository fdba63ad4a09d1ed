// Where the commands have the newest reports from: the API, or the report directory itself.
#pragma once

#include "ctl/host/host.h"

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

// All reports, sorted by name, each name once, case aside. Read are those of `names`, or all when
// there are none; of the others the name and the file's time are known. Through the API in two
// calls, with a third for names that are missing and more where an answer was full; or, when `host`
// is offline or this user has no token, from its directory. Throws what ApiClient throws, and
// Failure when the directory cannot be read.
std::vector<StoredReport> ReadReports(const Host& host, const std::vector<std::string>& names);

// The names of all reports with the times of their files, by one brief call of the API. Throws what
// ApiClient throws.
std::vector<StoredReport> ListReports(const Host& host);

// ReadReports from a directory, whose path is this machine's and ends in a slash.
std::vector<StoredReport> ReadStoredReports(const std::string& directory,
                                            const std::vector<std::string>& names);

// What a report's status code is called; UNKNOWN for other codes.
std::string StatusName(int code);

}  // namespace Ctl
