// The recent values of each report's first metric, as small bars.
#pragma once

#include "ctl/sight/host_view.h"
#include "ctl/watch/host_watch.h"

#include <deque>
#include <map>
#include <string>

namespace Ctl {

class Trends {
  public:
    static constexpr int kColumns = 8;  // one value per column

    // Starts with the newest value of each report.
    explicit Trends(const HostView& view);

    // Adds the values of new reports.
    void Take(const HostChanges& changes, const HostView& view);
    // The last values, the newest at the right: "▁▂▅▇". Empty for a report without metrics.
    std::string TextOf(const std::string& report) const;

  private:
    void Add(const ViewedReport& report);

    struct Course {
        std::string time;  // of the newest report
        std::deque<double> values;
    };
    std::map<std::string, Course> courses;  // by the report's name
};

}  // namespace Ctl
