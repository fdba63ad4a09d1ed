#include "ctl/watch/host_watch.h"

#include "core/settings/settings.h"
#include "ctl/doctor/host.h"
#include "ctl/host/listening_sockets.h"
#include "ctl/show/failure.h"
#include "ctl/show/times.h"
#include "store/report_name.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <utility>

#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace Ctl {

namespace {

using std::chrono::steady_clock;

constexpr std::chrono::seconds kRound{10};
constexpr std::chrono::seconds kRoundWithoutDaemon{2};
// A post renames, unlinks and links: changes within this time are read once.
constexpr std::chrono::milliseconds kSettling{100};

void WaitOn(int readiness, int descriptor) {
    epoll_event event{};
    event.events = EPOLLIN;
    if (descriptor >= 0 && ::epoll_ctl(readiness, EPOLL_CTL_ADD, descriptor, &event) != 0) {
        throw Failure("cannot watch the host", errno);
    }
}

bool ReadsDirectory(const Host& host) {
    return host.isOffline || (host.apiUrl == kDefaultApiUrl &&
                              ::access(host.reportDirectory.c_str(), R_OK | X_OK) == 0);
}

bool IsSameReport(const JudgedReport& one, const JudgedReport& other) {
    return one.state == other.state && one.report.time == other.report.time &&
           one.report.unstructured == other.report.unstructured;
}

std::map<std::string, const ViewedReport*> ByName(const HostView& view) {
    std::map<std::string, const ViewedReport*> reports;
    for (const ViewedReport& report : view.reports) {
        reports.emplace(report.judged.report.name, &report);
    }
    return reports;
}

std::vector<ReportChange> Compare(const HostView& before, const HostView& now) {
    const std::map<std::string, const ViewedReport*> old = ByName(before);
    const std::map<std::string, const ViewedReport*> current = ByName(now);
    std::vector<ReportChange> changes;
    for (const auto& [name, report] : current) {
        const auto known = old.find(name);
        const JudgedReport& judged = report->judged;
        if (known == old.end() || !IsSameReport(known->second->judged, judged)) {
            changes.push_back(
                {name,
                 known == old.end() ? std::nullopt : std::optional(known->second->judged.state),
                 judged.state, report->reason, judged.report.time});
        }
    }
    for (const auto& [name, report] : old) {
        if (!current.contains(name)) {
            changes.push_back({name, report->judged.state, {}, "", UtcText(now.now)});
        }
    }
    return changes;
}

// The file times by name, in seconds. A file of the last second may be replaced by one with the
// same time, so its time is empty: not known yet.
std::map<std::string, std::string> ListTimes(const Host& host) {
    constexpr std::size_t kToSeconds = 19;  // of 2024-03-05T14:07:09
    const std::string settled =
        UtcText(std::chrono::system_clock::now() - std::chrono::seconds(1)).substr(0, kToSeconds);
    std::map<std::string, std::string> times;
    for (StoredReport& report : ListReports(host)) {
        const bool isSettled = report.time.compare(0, kToSeconds, settled) < 0;
        times.emplace(std::move(report.name), isSettled ? std::move(report.time) : std::string());
    }
    return times;
}

}  // namespace

HostWatch::HostWatch(Host host, std::vector<std::string> names)
    : given(std::move(host)),
      names(std::move(names)),
      readiness(::epoll_create1(EPOLL_CLOEXEC)),
      alarm(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
    this->host = given;
    InspectHost();
    if (ReadsDirectory(this->host)) {
        this->host.isOffline = true;
        directory.emplace(RequireReportDirectory(this->host));
        WaitOn(readiness.Get(), directory->Descriptor());
    }
    WaitOn(readiness.Get(), alarm.Get());
    ReadAll();
    (void)Renew();
    nextRound = steady_clock::now() + kRound;
    SetAlarm();
}

HostChanges HostWatch::Look() {
    std::uint64_t expirations = 0;
    [[maybe_unused]] const ssize_t ignored =
        ::read(alarm.Get(), &expirations, sizeof expirations);  // reading rearms it
    const TimePoint now = steady_clock::now();
    const bool hasEnded = daemon.IsOpen() && daemon.HasEnded();
    const bool isRound = now >= nextRound || hasEnded;
    if (directory) {
        mayHaveLost = !directory->AddChangedNames(changedNames) || mayHaveLost;
        ForgetTransients();
        if (!settlesAt && (mayHaveLost || !changedNames.empty())) {
            settlesAt = now + kSettling;
        }
    }
    HostChanges changes;
    if (isRound || (settlesAt && now >= *settlesAt)) {
        const bool ran = runs;
        settlesAt.reset();
        try {
            if (daemon.IsOpen() && !hasEnded) {
                host.now = std::chrono::system_clock::now();
                host.state = Sentrel::ReadDaemonState();
            } else {
                InspectHost();
            }
            ReadChanged();
            changes = Renew();
            runs = runs || !directory;  // the API of the daemon answers
        } catch (const std::exception& exception) {
            view.problem = exception.what();
            runs = runs && directory.has_value();
        }
        changes.isDaemon = ran != runs;
        nextRound = now + (runs ? kRound : kRoundWithoutDaemon);
    }
    SetAlarm();
    return changes;
}

// Reads the daemon, its state, and the plugins that it has known since its start.
void HostWatch::InspectHost() {
    Host looked = given;
    looked.now = std::chrono::system_clock::now();
    if (!looked.isElsewhere) {
        InspectDaemon(looked);
    }
    if (directory) {
        looked.isOffline = true;
        looked.reportDirectory = host.reportDirectory;
    }
    host = std::move(looked);
    runs = FindDaemon();
    plugins = PluginsOf(host);
}

bool HostWatch::FindDaemon() {
    if (host.isElsewhere) {
        return true;  // until its API fails to answer
    }
    if (!host.daemon) {
        daemon = {};
        const auto port =
            static_cast<std::uint16_t>(host.intakePort > 0 ? host.intakePort : Sentrel::kApiPort);
        // it may run, but be invisible to this user
        return !host.portHolder && !FindListeningSockets(port).empty();
    }
    if (!daemon.IsOpen() || daemon.HasEnded()) {
        daemon = Sys::PidFd::Open(host.daemon->pid);
        WaitOn(readiness.Get(), daemon.Get());
    }
    return daemon.IsOpen();
}

void HostWatch::ReadAll() {
    if (!directory) {
        listed = ListTimes(host);
    }
    stored.clear();
    for (StoredReport& report : ReadReports(host, {})) {
        std::string name = report.name;
        stored.emplace(std::move(name), std::move(report));
    }
}

void HostWatch::ReadChanged() {
    if (!directory) {
        AskForChangedNames();
    } else if (mayHaveLost || !directory->IsWatching()) {
        directory->Restart();
        ReadAll();
        mayHaveLost = false;
        changedNames.clear();
    }
    if (changedNames.empty()) {
        return;
    }
    std::map<std::string, StoredReport> present;
    for (StoredReport& report : ReadReports(host, {changedNames.begin(), changedNames.end()})) {
        std::string name = report.name;
        present.emplace(std::move(name), std::move(report));
    }
    for (const std::string& name : changedNames) {
        const auto found = present.find(name);
        if (found == present.end()) {
            stored.erase(name);
        } else {
            stored.insert_or_assign(name, std::move(found->second));
        }
    }
    changedNames.clear();
}

void HostWatch::AskForChangedNames() {
    std::map<std::string, std::string> now = ListTimes(host);
    for (const auto& [name, time] : now) {
        const auto known = listed.find(name);
        if (known == listed.end() || known->second != time || time.empty()) {
            changedNames.insert(name);
        }
    }
    for (const auto& [name, time] : listed) {
        if (!now.contains(name)) {
            changedNames.insert(name);
        }
    }
    listed = std::move(now);
}

// Forgets names that are not reports: stored and temporary files end in ".json", like links.
void HostWatch::ForgetTransients() {
    std::erase_if(changedNames, [this](const std::string& name) {
        std::error_code error;
        return !stored.contains(name) &&
               !std::filesystem::is_symlink(host.reportDirectory + Sentrel::LinkName(name), error);
    });
}

HostChanges HostWatch::Renew() {
    std::vector<StoredReport> reports;
    reports.reserve(stored.size());
    for (const auto& [name, report] : stored) {
        reports.push_back(report);
    }
    HostView renewed = ViewStored(host, std::move(reports), plugins);
    std::erase_if(renewed.reports, [this](const ViewedReport& report) {
        return !names.empty() && std::none_of(names.begin(), names.end(), [&](const auto& name) {
            return Sentrel::IsSameReportName(name, report.judged.report.name);
        });
    });
    HostChanges changes{.reports = Compare(view, renewed)};
    view = std::move(renewed);
    return changes;
}

void HostWatch::SetAlarm() {
    const TimePoint next = settlesAt ? std::min(*settlesAt, nextRound) : nextRound;
    const std::chrono::nanoseconds since = next.time_since_epoch();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since);
    itimerspec time{};
    time.it_value.tv_sec = static_cast<time_t>(seconds.count());
    time.it_value.tv_nsec = (since - seconds).count();
    (void)::timerfd_settime(alarm.Get(), TFD_TIMER_ABSTIME, &time, nullptr);  // a valid time
}

}  // namespace Ctl
