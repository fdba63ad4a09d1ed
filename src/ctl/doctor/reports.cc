// "doctor": the states and the times of the newest reports.
#include "ctl/doctor/subjects.h"
#include "ctl/host/daemon_settings.h"
#include "ctl/host/plugin_survey.h"
#include "ctl/reports/source.h"
#include "ctl/reports/state.h"
#include "ctl/show/times.h"
#include "ctl/show/words.h"
#include "store/publisher.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <unistd.h>

namespace Ctl {

namespace {

// Throws CannotInspect if this user may not read it. False if it is missing, which another check
// reports.
bool HasReadableDirectory(const Host& host) {
    if (::access(host.reportDirectory.c_str(), R_OK | X_OK) == 0) {
        return true;
    }
    const int error = errno;
    if (error == EACCES) {
        throw CannotInspect("cannot read " + host.reportDirectory, error);
    }
    return false;
}

struct StateRow {
    ReportState state;
    Severity severity;
    const char* text;  // follows the count of reports
    const char* remedy;
};
constexpr StateRow kStateRows[] = {
    {ReportState::Invalid, Severity::Error, "INVALID (not valid reports; full listings omit them)",
     "sentrelctl list --state INVALID; sentrelctl history NAME says why"},
    {ReportState::Error, Severity::Warning, "ERROR", "sentrelctl list --full --state ERROR"},
    {ReportState::Unknown, Severity::Warning, "UNKNOWN (the check could not determine the state)",
     "sentrelctl list --full --state UNKNOWN"},
    {ReportState::Stale, Severity::Warning, "STALE (older than expected)",
     "see why: sentrelctl list --full --state STALE"},
    {ReportState::Warning, Severity::Notice, "WARNING", "sentrelctl list --full --state WARNING"},
    {ReportState::Never, Severity::Notice, "NEVER (the plugin has not reported yet)",
     "see when each is launched: sentrelctl plugin plan"},
};

// Whether the time ends in "Z" or "+hh:mm".
bool HasZone(const std::string& time) {
    const std::size_t size = time.size();
    return size > 6 &&
           (time.back() == 'Z' || time.back() == 'z' || time[size - 6] == '+' ||
            time[size - 6] == '-') &&
           time.find_first_of("Tt") != std::string::npos;
}

void CheckSilences(const Host& host, Findings& findings) {
    try {
        (void)ReadSilences(host.now);
    } catch (const Failure& failure) {
        const bool isSkipped = failure.ErrorNumber() == EACCES;
        findings.push_back({isSkipped ? Severity::Notice : Severity::Warning, "silences",
                            failure.WhatHappened(), failure.Advice(), isSkipped});
    }
}

}  // namespace

void CheckReportStates(const Host& host, Findings& findings) {
    if (!HasReadableDirectory(host)) {
        return;
    }
    const std::vector<PluginPeriod> plugins = PeriodsOf(SurveyPlugins(), host.state);
    std::vector<JudgedReport> judged =
        JudgeReports(ReadStoredReports(host.reportDirectory, {}), plugins, host.now);
    CheckSilences(host, findings);
    AddSilences(judged, host.now);
    bool isAllWell = true;
    for (const StateRow& row : kStateRows) {
        std::vector<std::string> names;
        for (const JudgedReport& report : judged) {
            // CheckReportTimes reports times in the future
            if (report.state == row.state && !IsInFuture(report) && !report.silence) {
                names.push_back(report.report.name);
            }
        }
        if (!names.empty()) {
            // a host without a daemon gets no new reports
            const bool isDue = row.state == ReportState::Stale || row.state == ReportState::Never;
            findings.push_back(
                {.severity = row.severity,
                 .subject = "reports",
                 .text = std::to_string(names.size()) + " " + row.text + ": " + Abridged(names),
                 .remedy = row.remedy,
                 .followsFrom = isDue ? "daemon" : ""});
            isAllWell = isAllWell && row.severity <= Severity::Notice;
        }
    }
    std::vector<std::string> silenced;
    for (const JudgedReport& report : judged) {
        if (report.silence) {
            silenced.push_back(report.report.name);
        }
    }
    if (!silenced.empty()) {
        findings.push_back({Severity::Notice, "reports",
                            std::to_string(silenced.size()) + " silenced: " + Abridged(silenced),
                            "sentrelctl silence"});
    }
    if (isAllWell) {
        const auto good = std::count_if(judged.begin(), judged.end(), [](const auto& report) {
            return report.state == ReportState::Ok;
        });
        findings.push_back({Severity::Good, "reports",
                            std::to_string(good) + " of " + std::to_string(judged.size()) + " OK",
                            ""});
    }
}

void CheckReportTimes(const Host& host, Findings& findings) {
    if (!HasReadableDirectory(host)) {
        return;
    }
    const Sentrel::Publisher publisher(host.reportDirectory, SilentLogger());
    std::vector<std::string> zoneless;
    std::vector<std::string> early;
    for (const Sentrel::Report& report : publisher.GetReports({}, {}, Sentrel::kNoStartTime)) {
        const std::optional<std::chrono::seconds> age = AgeOf(report.time, host.now);
        if (age && !HasZone(report.time)) {
            zoneless.push_back(report.name);
        }
        if (age && *age < -kToleratedLead) {
            early.push_back(report.name);
        }
    }
    if (!zoneless.empty()) {
        findings.push_back({Severity::Warning, "times of reports",
                            "without a time zone, read as local time: " + Abridged(zoneless),
                            "write the time in UTC: date -u +%FT%TZ"});
    }
    if (!early.empty()) {
        findings.push_back({Severity::Warning, "times of reports",
                            "in the future: " + Abridged(early),
                            "correct the plugins, or the clock of this host: timedatectl"});
    }
}

}  // namespace Ctl
