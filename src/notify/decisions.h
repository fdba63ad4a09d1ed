// Decides which changes of a host's reports cause a notice, and when: only after a state has
// lasted, once for a report that flaps, and for a held report once it is released, if the change is
// still true. Uses no clock, files or hooks.
#pragma once

#include "ctl/reports/state.h"

#include <chrono>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Notify {

// The current state of a report.
struct Sighting {
    std::string name;
    Ctl::ReportState state = Ctl::ReportState::Ok;
    std::string reason = {};
    std::string time = {};  // of the report, RFC 3339; empty when there is none
    bool isHeld = false;    // no notices at present: it is silenced, or the host is starting
};

// The last notice about a report; kept across restarts of the process.
struct LastNotice {
    Ctl::ReportState state = Ctl::ReportState::Ok;
    bool isFlapping = false;
};

// A notice to send.
struct Notice {
    Sighting report;
    Ctl::ReportState before = Ctl::ReportState::Ok;  // in the last notice
    int changes = 0;                                 // of its state since then
    bool isFlapping = false;                         // it changes too often for any state to last
};

class Decisions {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;

    // A report that changes this often before any of its states lasts is flapping.
    static constexpr int kFlappingChanges = 6;

    // `settleTime`: how long a state must last. A report that is missing in `lastNotices` was OK.
    Decisions(std::chrono::seconds settleTime, std::map<std::string, LastNotice> lastNotices);

    // Takes all reports as they are at `now`; forgets reports that no longer exist.
    void Observe(const std::vector<Sighting>& reports, TimePoint now);

    // The notices due at `now`, by name: of reports that became worse, recovered or flap. Each
    // stays due until it is confirmed.
    std::vector<Notice> Due(TimePoint now) const;

    // Records that the notice was sent.
    void Confirm(const Notice& notice);

    // Whether a state has not lasted yet, or something is due.
    bool IsWaiting(TimePoint now) const;

    // The last notice about each report, except those that are simply OK.
    std::map<std::string, LastNotice> LastNotices() const;

  private:
    struct Course {
        LastNotice lastNotice;
        Sighting current;
        TimePoint since;  // when `current` got its state
        int changes = 0;  // since the last notice, or since a state lasted without one
    };

    bool HasLasted(const Course& course, TimePoint now) const;

    const std::chrono::seconds settleTime;
    std::map<std::string, LastNotice> remembered;  // of reports that have not been seen yet
    std::map<std::string, Course> courses;         // by the report's name
};

}  // namespace Notify
