// The stored reports of one name: the ring in the report directory.
#pragma once

#include "ctl/reports/source.h"

#include <map>
#include <string>
#include <vector>

namespace Ctl {

struct HistoricReport {
    std::string file;       // the name of its file
    std::string stored;     // when the file was written: UTC, RFC 3339
    StoredReport report;    // as in a listing: no status when it cannot be read
    std::string fault;      // why it cannot be read; else empty
    bool isNewest = false;  // the link of the name points at it
};

// Those of `name`, case aside, newest first. `directory` ends in "/". Throws std::system_error when
// it cannot be listed.
std::vector<HistoricReport> ReadHistory(const std::string& directory, const std::string& name);

// The same of all names, as their files have them.
std::map<std::string, std::vector<HistoricReport>> ReadHistories(const std::string& directory);

}  // namespace Ctl
