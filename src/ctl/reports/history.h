// Reads the stored reports of a name: its ring in the report directory.
#pragma once

#include "ctl/reports/source.h"

#include <map>
#include <string>
#include <vector>

namespace Ctl {

struct HistoricReport {
    std::string file;       // the file's name
    std::string stored;     // when the file was written: UTC, RFC 3339
    StoredReport report;    // as in a listing; no status if it cannot be read
    std::string fault;      // why it cannot be read; else empty
    bool isNewest = false;  // the name's link points to it
};

// The stored reports of `name`, ignoring case, newest first. `directory` ends in "/". Throws
// std::system_error if it cannot be listed.
std::vector<HistoricReport> ReadHistory(const std::string& directory, const std::string& name);

// The stored reports of all names, spelled as in their files.
std::map<std::string, std::vector<HistoricReport>> ReadHistories(const std::string& directory);

}  // namespace Ctl
