// The plugins of this host as the daemon would find them if it started now: each entry of the
// plugin directory, how it is classified, and the schedule of the enabled ones.
#pragma once

#include "plugins/discovery.h"
#include "plugins/queue_timing.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Ctl {

struct SurveyedPlugin {
    Sentrel::PluginEntry entry;
    std::string location;  // below the host root
    // Only of enabled plugins.
    std::size_t batch = 0;            // its place in its queue, from 0
    std::chrono::seconds firstRun{};  // after the daemon's start
    std::chrono::seconds period{};    // from one run to the next

    const std::string& Name() const { return entry.info.name; }
    bool IsEnabled() const { return entry.verdict == Sentrel::PluginVerdict::Enabled; }
};

struct PluginSurvey {
    bool hasDirectory = true;
    std::vector<SurveyedPlugin> entries;     // in byte order of their names
    Sentrel::PluginCounts counts;            // of enabled ones
    std::int64_t configuredFastMinutes = 0;  // the fast period before it was raised
    Sentrel::Timetable timetable;
    std::int32_t poolSizeMB = 0;  // reserved for all plugins together
};

// Examines the plugin directory. If it is missing, in which case the daemon does not start, returns
// no entries. Throws a std::exception, with what to do, if it cannot be listed.
PluginSurvey SurveyPlugins();

// Throws Failure if there is no plugin directory.
void RequireDirectory(const PluginSurvey& survey);

// "fast", "medium" or "slow".
std::string_view QueueOf(const SurveyedPlugin& plugin);

// "enabled", "disabled", "directory", "no configuration".
std::string_view StateOf(const SurveyedPlugin& plugin);

// The files of the store that configure a plugin, as plain host paths: the vendor's defaults, and
// the host's values. Empty for a name that the store refuses.
Tabulon::EntryPaths StoreFilesOf(const std::string& plugin);

}  // namespace Ctl
