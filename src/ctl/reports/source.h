// Reads the newest reports, through the API or from the report directory.
#pragma once

#include "ctl/host/host.h"

#include <string>
#include <vector>

namespace Ctl {

// The newest report of one name.
struct StoredReport {
    std::string name;
    // UTC, RFC 3339: the report's time; the file's time if the report cannot be read.
    std::string time;
    std::string status = {};        // "OK", ...; empty if it cannot be read
    std::string unstructured = {};  // JSON text
};

// Lists all reports by name, names that differ only in case once. Reads the reports in `names`
// (all, if empty); the others have name and file time only. Uses the API, with two calls, a third
// for missing names, and more if an answer was full. If `host` is offline or this user has no
// token, uses the report directory instead. Throws what ApiClient throws, and Failure if the
// directory cannot be read.
std::vector<StoredReport> ReadReports(const Host& host, const std::vector<std::string>& names);

// The names of all reports with the times of their files, by one brief call of the API. Throws what
// ApiClient throws.
std::vector<StoredReport> ListReports(const Host& host);

// ReadReports from a directory, whose path is this machine's and ends in a slash.
std::vector<StoredReport> ReadStoredReports(const std::string& directory,
                                            const std::vector<std::string>& names);

// The name of a report's status code; UNKNOWN for other codes.
std::string StatusName(int code);

}  // namespace Ctl
