#include "notify/decisions.h"

#include <algorithm>
#include <utility>

namespace Notify {

namespace {

using Ctl::ReportState;

bool IsWell(ReportState state) { return state == ReportState::Ok || state == ReportState::None; }

// Whether the state is worse than in the last notice, or fine again. A state that is better but not
// fine causes no notice.
bool IsNews(ReportState last, ReportState now) {
    return IsWell(now) ? !IsWell(last) : IsWell(last) || Ctl::RankOf(now) < Ctl::RankOf(last);
}

}  // namespace

Decisions::Decisions(std::chrono::seconds settleTime, std::map<std::string, LastNotice> lastNotices)
    : settleTime(settleTime), remembered(std::move(lastNotices)) {}

void Decisions::Observe(const std::vector<Sighting>& reports, TimePoint now) {
    std::map<std::string, Course> seen;
    for (const Sighting& report : reports) {
        const auto known = courses.find(report.name);
        Course course{.lastNotice = {}, .current = report, .since = now};
        if (known != courses.end()) {
            course = std::move(known->second);
            if (course.current.state != report.state) {
                course.since = now;
                ++course.changes;
            } else if (HasLasted(course, now) && !course.lastNotice.isFlapping &&
                       !IsNews(course.lastNotice.state, report.state)) {
                course.changes = 0;
            }
            course.current = report;
        } else if (const auto last = remembered.find(report.name); last != remembered.end()) {
            course.lastNotice = last->second;
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
        const bool isSettled = hasLasted && (course.lastNotice.isFlapping ||
                                             IsNews(course.lastNotice.state, course.current.state));
        const bool isFlapping =
            !hasLasted && course.changes >= kFlappingChanges && !course.lastNotice.isFlapping;
        if (!course.current.isHeld && (isSettled || isFlapping)) {
            notices.push_back(
                {course.current, course.lastNotice.state, course.changes, isFlapping});
        }
    }
    return notices;
}

void Decisions::Confirm(const Notice& notice) {
    const auto found = courses.find(notice.report.name);
    if (found == courses.end()) {
        return;
    }
    LastNotice& last = found->second.lastNotice;
    last.isFlapping = notice.isFlapping;
    if (!notice.isFlapping) {
        last.state = notice.report.state;
    }
    found->second.changes = 0;
}

bool Decisions::IsWaiting(TimePoint now) const {
    return std::any_of(courses.begin(), courses.end(), [&](const auto& entry) {
        const Course& course = entry.second;
        return !HasLasted(course, now) || course.lastNotice.isFlapping ||
               IsNews(course.lastNotice.state, course.current.state);
    });
}

std::map<std::string, LastNotice> Decisions::LastNotices() const {
    std::map<std::string, LastNotice> all = remembered;
    for (const auto& [name, course] : courses) {
        if (course.lastNotice.state != ReportState::Ok || course.lastNotice.isFlapping) {
            all.emplace(name, course.lastNotice);
        }
    }
    return all;
}

bool Decisions::HasLasted(const Course& course, TimePoint now) const {
    return now - course.since >= settleTime;
}

}  // namespace Notify
