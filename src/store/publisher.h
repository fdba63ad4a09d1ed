// Answers queries of the reports stored in a directory: each symbolic link at any depth that leads
// to a regular file is a report, named like the link without its last extension. report.h describes
// the document.
#pragma once

#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "store/filters.h"
#include "store/report.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace Sentrel {

// A link to a stored report.
struct ReportFile {
    std::string name;      // any bytes but "/" and NUL
    std::string path;      // the link's target as stored in the link
    std::string modified;  // FormatModifiedTime of that file
};

// Limits the memory and duration of one query. By default there is no limit.
struct QueryLimits {
    // The total size of the texts (time and unstructured) of the reports. A report that would
    // exceed it is left out like an unreadable one.
    std::size_t maxTextBytes = std::numeric_limits<std::size_t>::max();
    // Called before each report is read: returns whether nobody waits for the result any more, in
    // which case the query ends with what it has. May be null.
    std::function<bool()> isAbandoned{};
};

// Immutable after construction: any thread, even concurrently, while reports are being stored.
// Nothing is cached. A query does not throw because of faults in the directory: they are logged at
// level 3 and skipped, and an error of the walk ends the query with what was found so far. Results
// are in the order of the file system; a name occurs twice if two links have it. A link that is
// just being replaced may be missing.
class Publisher {
  public:
    // `directory` ends in "/". A relative one, and relative targets of links, are resolved against
    // the working directory.
    Publisher(std::string directory, const Pellmar::Ref<Pellmar::Service::Logger>& logger);

    // The links with one of these names, ignoring ASCII case; all links if `names` is empty. Reads
    // no report.
    std::vector<ReportFile> ListReportFiles(const std::vector<std::string>& names) const;

    // The reports of these links that have one of `statuses` (any if empty) and were created at
    // `startTime` or later: nanoseconds since 1970, or kNoStartTime. A report whose name differs
    // from its link's is left out.
    std::vector<Report> GetReports(const std::vector<std::string>& names,
                                   const std::vector<std::int32_t>& statuses,
                                   std::int64_t startTime, const QueryLimits& limits = {}) const;

  private:
    std::vector<ReportFile> EnumerateReports(const Prefilter& prefilter) const;
    std::vector<Report> FilterReports(const Prefilter& prefilter,
                                      const std::vector<std::shared_ptr<Filter>>& filters,
                                      const QueryLimits& limits) const;
    bool PassesAll(const Report& report, const std::vector<std::shared_ptr<Filter>>& filters) const;
    // Returns an empty record, after logging why, if the report cannot be read, or if its document
    // or texts exceed `unusedBytes`, the remainder of `maxTextBytes`. Implemented in
    // report_reader.cc.
    Report ReadReport(const std::string& path, std::size_t unusedBytes,
                      std::size_t maxTextBytes) const;

    const std::string directory;
    const Pellmar::Ref<Pellmar::Service::Logger> logger;
};

}  // namespace Sentrel
