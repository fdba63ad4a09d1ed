#include "notify/decisions.h"

#include <algorithm>
#include <utility>

namespace Notify {

namespace {

using Ctl::ReportState;

bool IsWell(ReportState state) { return state == ReportState::Ok || state == ReportState::None; }

// Whether the state is worse than in the last notice, or fine again. A state that is better but not
// fine causes no notice.
bool IsNews(ReportState told, ReportState now) {
    return IsWell(now) ? !IsWell(told) : IsWell(told) || Ctl::RankOf(now) < Ctl::RankOf(told);
}

}  // namespace

Decisions::Decisions(std::chrono::seconds settleTime, std::map<std::string, Told> told)
    : settleTime(settleTime), remembered(std::move(told)) {}

void Decisions::Observe(const std::vector<Sighting>& reports, TimePoint now) {
    std::map<std::string, Course> seen;
    for (const Sighting& report : reports) {
        const auto known = courses.find(report.name);
        Course course{.told = {}, .current = report, .since = now};
        if (known != courses.end()) {
            course = std::move(known->second);
            if (course.current.state != report.state) {
                course.since = now;
                ++course.changes;
            } else if (HasLasted(course, now) && !course.told.isFlapping &&
                       !IsNews(course.told.state, report.state)) {
                course.changes = 0;
            }
            course.current = report;
        } else if (const auto told = remembered.find(report.name); told != remembered.end()) {
            course.told = told->second;
        }
        seen.emplace(report.name, std::move(course));
    }
    courses = std::move(seen);
    remembered.clear();
}

std::vector<Notice> Decisions::Due(TimePoint now) const {
    std::vector<Notice> notices;
    for (const auto& [name, course] : courses) {
        const bool hasLasted = HasLasted(course, now);
        const bool isSettled = hasLasted && (course.told.isFlapping ||
                                             IsNews(course.told.state, course.current.state));
        const bool isFlapping =
            !hasLasted && course.changes >= kFlappingChanges && !course.told.isFlapping;
        if (!course.current.isHeld && (isSettled || isFlapping)) {
            notices.push_back({course.current, course.told.state, course.changes, isFlapping});
        }
    }
    return notices;
}

void Decisions::Confirm(const Notice& notice) {
    const auto found = courses.find(notice.report.name);
    if (found == courses.end()) {
        return;
    }
    Told& told = found->second.told;
    told.isFlapping = notice.isFlapping;
    if (!notice.isFlapping) {
        told.state = notice.report.state;
    }
    found->second.changes = 0;
}

bool Decisions::IsWaiting(TimePoint now) const {
    return std::any_of(courses.begin(), courses.end(), [&](const auto& entry) {
        const Course& course = entry.second;
        return !HasLasted(course, now) || course.told.isFlapping ||
               IsNews(course.told.state, course.current.state);
    });
}

std::map<std::string, Told> Decisions::WhatWasTold() const {
    std::map<std::string, Told> all = remembered;
    for (const auto& [name, course] : courses) {
        if (course.told.state != ReportState::Ok || course.told.isFlapping) {
            all.emplace(name, course.told);
        }
    }
    return all;
}

bool Decisions::HasLasted(const Course& course, TimePoint now) const {
    return now - course.since >= settleTime;
}

}  // namespace Notify
