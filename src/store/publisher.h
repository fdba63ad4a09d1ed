// Answers queries of stored reports from a report directory: each symbolic link in it or below it
// that leads to a regular file is a report, called like the link without its last extension. What
// a report document must be like is report.h's.
#pragma once

#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "store/filters.h"
#include "store/report.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace Sentrel {

// A link that leads to a stored report.
struct ReportFile {
    std::string name;            // any bytes but "/" and NUL
    std::filesystem::path path;  // where the link points, as it stands there
    std::string modified;        // FormatModifiedTime of that file
};

// What one query may hold and how long it goes on. By default all of it, to its end.
struct QueryLimits {
    // Of the texts (time and unstructured) of its reports. A report that would exceed it is left
    // out like one that cannot be read.
    std::size_t maxTextBytes = std::numeric_limits<std::size_t>::max();
    // Asked before each report is read: whether nobody waits for the result any more, so that the
    // query ends with what it has. May be null.
    std::function<bool()> isAbandoned{};
};

// Never changes after construction: any thread, queries side by side too, while reports are being
// stored. Nothing is cached. No query throws for what is wrong in the directory: that is logged at
// level 3 and left out, and an error of the walk ends it with what was found so far. Results are in
// the order of the file system; a name occurs twice when two links have it. A link whose report is
// being renewed may be missing for that instant.
class Publisher {
  public:
    // `directory` ends in "/". A relative one, and relative targets of links, are looked up in the
    // working directory.
    Publisher(std::string directory, const Pellmar::Ref<Pellmar::Service::Logger>& logger);

    // The links of these names, ASCII case aside; of all names when there are none. Reads no
    // report.
    std::vector<ReportFile> ListReportFiles(const std::vector<std::string>& names) const;

    // The reports behind these links that have one of `statuses` (any when there are none) and were
    // made at `startTime` or later: nanoseconds since 1970, or kNoStartTime. A report that calls
    // itself otherwise than its link is left out.
    std::vector<Report> GetReports(const std::vector<std::string>& names,
                                   const std::vector<std::int32_t>& statuses,
                                   std::int64_t startTime, const QueryLimits& limits = {}) const;

  private:
    std::vector<ReportFile> EnumerateReports(const Prefilter& prefilter) const;
    std::vector<Report> FilterReports(const Prefilter& prefilter,
                                      const std::vector<std::shared_ptr<Filter>>& filters,
                                      const QueryLimits& limits) const;
    bool PassesAll(const Report& report, const std::vector<std::shared_ptr<Filter>>& filters) const;
    // An unfilled record when the report cannot be had, which is logged: also one whose document or
    // texts are longer than `unusedBytes`, what is left of `maxTextBytes`. In report_reader.cc.
    Report ReadReport(const std::filesystem::path& path, std::size_t unusedBytes,
                      std::size_t maxTextBytes) const;

    const std::string directory;
    const Pellmar::Ref<Pellmar::Service::Logger> logger;
};

}  // namespace Sentrel
