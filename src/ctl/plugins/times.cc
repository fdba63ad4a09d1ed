#include "ctl/plugins/times.h"

#include "platform/sys/host_root.h"
#include "store/report_name.h"

#include <algorithm>
#include <cstdint>

#include <sys/stat.h>

namespace Ctl {

using std::chrono::seconds;
using std::chrono::system_clock;

namespace {

bool IsSameQueue(const SurveyedPlugin& one, const SurveyedPlugin& other) {
    return one.entry.info.frequency == other.entry.info.frequency;
}

system_clock::time_point ChangeTime(const std::string& path) {
    struct stat status{};
    (void)::lstat(path.c_str(), &status);  // a missing file counts as unchanged
    return system_clock::from_time_t(status.st_ctim.tv_sec);
}

// When the newest of the plugin's reports was stored.
std::optional<system_clock::time_point> NewestReport(const SurveyedPlugin& plugin,
                                                     const PluginReports& reports) {
    std::optional<system_clock::time_point> newest;
    const auto names = reports.names.find(plugin.Name());
    if (names == reports.names.end()) {
        return newest;
    }
    for (const std::string& name : names->second) {
        struct stat status{};
        if (::stat((reports.directory + Sentrel::LinkName(name)).c_str(), &status) == 0) {
            newest = std::max(newest, std::optional(system_clock::from_time_t(status.st_mtime)));
        }
    }
    return newest;
}

}  // namespace

std::vector<const SurveyedPlugin*> InLaunchOrder(const PluginSurvey& survey) {
    std::vector<const SurveyedPlugin*> plugins;
    for (const SurveyedPlugin& plugin : survey.entries) {
        if (plugin.IsEnabled()) {
            plugins.push_back(&plugin);
        }
    }
    std::sort(plugins.begin(), plugins.end(),
              [](const auto* a, const auto* b) { return a->firstRun < b->firstRun; });
    return plugins;
}

seconds GuaranteedRunTime(const PluginSurvey& survey, const SurveyedPlugin& plugin) {
    seconds least = plugin.period;  // until its own batch comes again
    for (const SurveyedPlugin& other : survey.entries) {
        const bool isSame = IsSameQueue(plugin, other);
        if (!other.IsEnabled() || &other == &plugin || (!isSame && other.batch != 0)) {
            continue;
        }
        const seconds ahead = other.firstRun - plugin.firstRun;
        least = std::min(least, ahead > seconds(0) ? ahead : ahead + other.period);
    }
    return least;
}

std::vector<std::string> MayBeEndedBy(const PluginSurvey& survey, const SurveyedPlugin& plugin) {
    std::vector<std::string> names;
    for (const SurveyedPlugin* other : InLaunchOrder(survey)) {
        if (other->batch == 0 && !IsSameQueue(plugin, *other)) {
            names.push_back(other->Name());
        }
    }
    return names;
}

bool IsNewerThan(const SurveyedPlugin& plugin, const DaemonProcess& daemon) {
    const Tabulon::EntryPaths files = StoreFilesOf(plugin.Name());
    return ChangeTime(plugin.location) > daemon.started ||
           ChangeTime(Sys::HostPath(files.host)) > daemon.started ||
           ChangeTime(Sys::HostPath(files.vendor)) > daemon.started;
}

std::optional<system_clock::time_point> EstimateNextLaunch(const SurveyedPlugin& plugin,
                                                           const Host& host,
                                                           const PluginReports& reports) {
    if (!host.daemon) {
        return std::nullopt;
    }
    const system_clock::time_point started = host.daemon->started;
    const auto report = NewestReport(plugin, reports);
    if (report && *report > started) {
        if (*report + plugin.period > host.now) {
            return *report + plugin.period;
        }
    } else if (IsNewerThan(plugin, *host.daemon)) {
        return std::nullopt;
    }
    const system_clock::time_point first = started + plugin.firstRun;
    if (first > host.now) {
        return first;
    }
    const auto rounds = (host.now - first) / plugin.period + 1;
    return first + plugin.period * rounds;
}

}  // namespace Ctl
