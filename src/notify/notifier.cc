#include "notify/notifier.h"

#include "ctl/show/json_output.h"
#include "ctl/show/times.h"
#include "ctl/sight/daemon_text.h"
#include "notify/hooks.h"
#include "platform/pellmar/log/logger.h"
#include "state/state_reader.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <optional>
#include <sstream>
#include <utility>
#include <vector>

#include <poll.h>
#include <time.h>

namespace Notify {

namespace {

using Pellmar::Service::Logger;
using Pellmar::Service::LogInternal;
using std::chrono::seconds;
using std::chrono::steady_clock;

const Pellmar::Ref<Logger>& Log() {
    static const Pellmar::Ref<Logger> sLogger =
        Logger::CreateLogger(Logger::sDefaultLogger, "Notifier");
    return sLogger;
}

seconds Uptime() {
    timespec time{};
    (void)::clock_gettime(CLOCK_BOOTTIME, &time);  // a clock that every kernel has
    return seconds(time.tv_sec);
}

// Reports from before the host's start do not count until their plugin has run again, and during
// the first round the host's services are still starting.
bool IsStarting(const Ctl::ViewedReport& report, const std::vector<Ctl::PluginPeriod>& plugins,
                seconds uptime) {
    const auto quickest = std::min_element(
        plugins.begin(), plugins.end(),
        [](const auto& one, const auto& other) { return one.period < other.period; });
    if (quickest == plugins.end()) {
        return false;
    }
    const std::size_t plugin = Ctl::FindPluginOf(report.judged.report.name, plugins);
    const bool isOlder = !report.judged.age || *report.judged.age > uptime;
    return uptime < quickest->period ||
           (isOlder && plugin < plugins.size() && uptime < plugins[plugin].period);
}

// Whether the report is NEVER because the daemon has not run its plugin yet.
bool IsAwaited(const Ctl::JudgedReport& judged, const std::optional<Sentrel::DaemonState>& state) {
    const Sentrel::PluginState* const plugin = state && judged.state == Ctl::ReportState::Never
                                                   ? state->Find(judged.report.name)
                                                   : nullptr;
    return plugin != nullptr && !plugin->start;
}

std::vector<Sighting> SightingsOf(const Ctl::HostView& view) {
    const std::optional<Sentrel::DaemonState> state = Sentrel::ReadDaemonState();
    std::vector<Ctl::PluginPeriod> plugins;
    for (const Ctl::ViewedLaunch& launch : view.launches) {
        plugins.push_back({launch.plugin, launch.period});
    }
    const seconds uptime = Uptime();
    std::vector<Sighting> sightings;
    for (const Ctl::ViewedReport& report : view.reports) {
        const Ctl::JudgedReport& judged = report.judged;
        sightings.push_back({judged.report.name, judged.state, report.reason, judged.report.time,
                             judged.silence.has_value() || IsAwaited(judged, state) ||
                                 IsStarting(report, plugins, uptime)});
    }
    return sightings;
}

const char* EventOf(const Notice& notice) {
    if (notice.isFlapping) {
        return "flapping";
    }
    return notice.report.state == Ctl::ReportState::Ok ||
                   notice.report.state == Ctl::ReportState::None
               ? "well"
               : "worse";
}

// The document that a hook reads.
std::string TextOf(const Notice& notice) {
    std::ostringstream text;
    Ctl::WriteJson({{"host", Ctl::HostName()},
                    {"name", notice.report.name},
                    {"event", EventOf(notice)},
                    {"before", Ctl::NameOf(notice.before)},
                    {"state", Ctl::NameOf(notice.report.state)},
                    {"reason", notice.report.reason},
                    {"reported", notice.report.time},
                    {"changes", notice.changes},
                    {"time", Ctl::UtcText(std::chrono::system_clock::now())}},
                   text);
    return text.str();
}

}  // namespace

Notifier::Notifier(const Places& places, Ctl::HostWatch& watch)
    : places(places),
      settings(ReadSettings(places.settings)),
      watch(watch),
      decisions(settings.settleTime, ReadLastNotices(places.lastNotices)) {}

void Notifier::Run(int stop) {
    std::array<pollfd, 2> entries = {{{watch.Descriptor(), POLLIN, 0}, {stop, POLLIN, 0}}};
    while (entries[1].revents == 0) {
        decisions.Observe(SightingsOf(watch.View()), steady_clock::now());
        Tell(stop);
        const int patience = decisions.IsWaiting(steady_clock::now()) ? 1000 : -1;
        (void)::poll(entries.data(), entries.size(), patience);  // interrupted: finds no change
        (void)watch.Look();
    }
}

void Notifier::Tell(int stop) {
    for (const Notice& notice : decisions.Due(steady_clock::now())) {
        if (!TakesOneMore() || !RunHooks(notice, stop)) {
            return;  // it is due again
        }
        lastMinute.push_back(steady_clock::now());
        decisions.Confirm(notice);
        WriteLastNotices(places.lastNotices, decisions.LastNotices());
    }
}

// Returns false if there are no hooks.
bool Notifier::RunHooks(const Notice& notice, int stop) {
    const Hooks hooks = FindHooks(places.hookDirectory);
    std::vector<std::string> news = hooks.refusals;
    if (hooks.paths.empty()) {
        news.push_back(places.hookDirectory + ": no hook; install one to be notified of changes");
    }
    for (const std::string& complaint : news) {
        if (complaints.insert(complaint).second) {
            LogInternal(Log(), 3, "%1", complaint);
        }
    }
    const std::string text = TextOf(notice);
    for (const std::string& path : hooks.paths) {
        const std::string failure = RunHook(path, text, settings.hookTimeout, stop);
        if (failure.empty()) {
            LogInternal(Log(), 5, {.report = notice.report.name}, "Notified %1: %2 is %3", path,
                        notice.report.name, Ctl::NameOf(notice.report.state));
        } else {
            LogInternal(Log(), 3, {.report = notice.report.name}, "Hook %1 failed for %2: %3", path,
                        notice.report.name, failure);
        }
    }
    return !hooks.paths.empty();
}

bool Notifier::TakesOneMore() {
    const auto oldest = steady_clock::now() - std::chrono::minutes(1);
    while (!lastMinute.empty() && lastMinute.front() < oldest) {
        lastMinute.pop_front();
    }
    return lastMinute.size() < static_cast<std::size_t>(settings.maxPerMinute);
}

}  // namespace Notify
