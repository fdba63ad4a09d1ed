// Decides which changes of a host's reports are told, and when: a state must last first, a report
// that flaps is told once, and what is held back is told later if it is still true. Knows no clock,
// no file and no hook.
#pragma once

#include "ctl/reports/state.h"

#include <chrono>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Notify {

// A report as it is seen now.
struct Sighting {
    std::string name;
    Ctl::ReportState state = Ctl::ReportState::Ok;
    std::string reason = {};
    std::string time = {};  // of the report, RFC 3339; empty when there is none
    bool isHeld = false;    // nothing is told of it at present: it is silenced, or the host starts
};

// What was told of a report last; it outlives the process.
struct Told {
    Ctl::ReportState state = Ctl::ReportState::Ok;
    bool isFlapping = false;
};

// One thing to tell.
struct Notice {
    Sighting report;
    Ctl::ReportState before = Ctl::ReportState::Ok;  // as it was told last
    int changes = 0;                                 // of its state since then
    bool isFlapping = false;                         // it changes too often for any state to last
};

class Decisions {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;

    // A report that changes this often before any of its states lasts is flapping.
    static constexpr int kFlappingChanges = 6;

    // `settleTime`: how long a state must last. A report that is missing in `told` was OK.
    Decisions(std::chrono::seconds settleTime, std::map<std::string, Told> told);

    // Takes all reports as they are at `now`. Those that are gone are forgotten.
    void Observe(const std::vector<Sighting>& reports, TimePoint now);

    // What there is to tell at `now`, by name: reports that became worse or well again, and those
    // that flap. Each is due again until it is confirmed.
    std::vector<Notice> Due(TimePoint now) const;

    // The notice was told.
    void Confirm(const Notice& notice);

    // Whether a state has not lasted yet, or something is due.
    bool IsWaiting(TimePoint now) const;

    // What was told of each report that is not simply OK.
    std::map<std::string, Told> WhatWasTold() const;

  private:
    struct Course {
        Told told;
        Sighting current;
        TimePoint since;  // when `current` got its state
        int changes = 0;  // since the last notice, or since a state lasted that needs none
    };

    bool HasLasted(const Course& course, TimePoint now) const;

    const std::chrono::seconds settleTime;
    std::map<std::string, Told> remembered;  // of reports that have not been seen yet
    std::map<std::string, Course> courses;   // by the report's name
};

}  // namespace Notify
