// What a query of stored reports keeps. Each filter serves one query: it refers to the caller's
// lists, which outlive it, and tells its reasons through the publisher's logger.
#pragma once

#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "store/report.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace Sentrel {

// As a start time: there is none.
inline constexpr std::int64_t kNoStartTime = std::numeric_limits<std::int64_t>::min();

// Judges a report by its name, before its file is read.
class Prefilter {
  public:
    // Whether to keep the report.
    virtual bool Apply(std::string_view reportName) const = 0;
    virtual ~Prefilter() = default;
};

// Keeps the names of a list, compared without regard to ASCII case; all names when it is empty.
class NameFilter : public Prefilter {
  public:
    NameFilter(const std::vector<std::string>& names,
               const Pellmar::Ref<Pellmar::Service::Logger>& logger);
    bool Apply(std::string_view reportName) const override;

  private:
    struct CaseBlindHash {
        std::size_t operator()(std::string_view name) const;
    };
    struct CaseBlindEqual {
        bool operator()(std::string_view one, std::string_view other) const;
    };

    // Views of the caller's list: it may be as long as the directory, and is asked for each link.
    const std::unordered_set<std::string_view, CaseBlindHash, CaseBlindEqual> names;
    const Pellmar::Ref<Pellmar::Service::Logger> logger;
};

// Judges a report that was read.
class Filter {
  public:
    // Whether to keep the report.
    virtual bool Apply(const Report& report) const = 0;
    // What the log calls the filter.
    virtual std::string_view Name() const = 0;
    virtual ~Filter() = default;
};

// Keeps the status codes of a list; every code when it is empty.
class StatusFilter : public Filter {
  public:
    StatusFilter(const std::vector<std::int32_t>& statuses,
                 const Pellmar::Ref<Pellmar::Service::Logger>& logger);
    bool Apply(const Report& report) const override;
    std::string_view Name() const override { return "Status filter"; }

  private:
    const std::vector<std::int32_t>& statuses;
    const Pellmar::Ref<Pellmar::Service::Logger> logger;
};

// Keeps reports made at `startTime`, in nanoseconds since 1970, or later. The report's time is the
// host's local time; one that cannot be read is refused, which is logged at level 3.
class TimeFilter : public Filter {
  public:
    TimeFilter(std::int64_t startTime, const Pellmar::Ref<Pellmar::Service::Logger>& logger);
    bool Apply(const Report& report) const override;
    std::string_view Name() const override { return "Time filter"; }

  private:
    const std::int64_t startTime;
    const Pellmar::Ref<Pellmar::Service::Logger> logger;
};

}  // namespace Sentrel
