// The filters of a query of stored reports. Each filter serves one query: it refers to the caller's
// lists, which must outlive it, and logs through the publisher's logger.
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

// Stands for no start time.
inline constexpr std::int64_t kNoStartTime = std::numeric_limits<std::int64_t>::min();

// Decides by a report's name, before its file is read.
class Prefilter {
  public:
    // Whether to keep the report.
    virtual bool Apply(std::string_view reportName) const = 0;
    virtual ~Prefilter() = default;
};

// Keeps the names in a list, compared ignoring ASCII case; all names if the list is empty.
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

    // Views of the caller's list, which may be as long as the directory and is searched for each
    // link.
    const std::unordered_set<std::string_view, CaseBlindHash, CaseBlindEqual> names;
    const Pellmar::Ref<Pellmar::Service::Logger> logger;
};

// Decides by a report's content.
class Filter {
  public:
    // Whether to keep the report.
    virtual bool Apply(const Report& report) const = 0;
    // The filter's name in log lines.
    virtual std::string_view Name() const = 0;
    virtual ~Filter() = default;
};

// Keeps the status codes in a list; all codes if the list is empty.
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

// Keeps reports created at `startTime`, in nanoseconds since 1970, or later. The report's time is
// in the host's local time; a report with an unreadable time is refused, which is logged at level
// 3.
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
