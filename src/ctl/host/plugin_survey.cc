#include "ctl/host/plugin_survey.h"

#include "ctl/host/daemon_settings.h"
#include "ctl/show/failure.h"
#include "ctl/show/words.h"
#include "platform/pellmar/exceptions.h"
#include "platform/sys/host_root.h"
#include "plugins/resource_group.h"

#include <array>
#include <cerrno>
#include <utility>

#include <strings.h>
#include <unistd.h>

namespace Ctl {

namespace {

constexpr std::array<std::string_view, 4> kStates = {"enabled", "disabled", "directory",
                                                     "no configuration"};

// Whether the plugin directory exists.
bool HasPluginDirectory() {
    const std::string directory = Sys::HostPath(Sentrel::kPluginDirectory);
    if (::access(directory.c_str(), R_OK | X_OK) == 0) {
        return true;
    }
    const int errorNumber = errno;
    if (errorNumber == ENOENT) {
        return false;
    }
    throw Failure("the plugin directory " + directory + " cannot be listed", errorNumber,
                  "run this as a user who may read it");
}

std::size_t& CountOf(std::uint32_t frequency, Sentrel::PluginCounts& counts) {
    return frequency == 1 ? counts.medium : frequency == 2 ? counts.slow : counts.fast;
}

const Sentrel::QueueTiming& TimingOf(std::uint32_t frequency, const Sentrel::Timetable& table) {
    return frequency == 1 ? table.medium : frequency == 2 ? table.slow : table.fast;
}

void ApplyTimetable(PluginSurvey& survey) {
    survey.timetable = Sentrel::MakeTimetable(survey.counts, survey.configuredFastMinutes);
    for (SurveyedPlugin& plugin : survey.entries) {
        if (plugin.IsEnabled()) {
            const Sentrel::QueueTiming& timing =
                TimingOf(plugin.entry.info.frequency, survey.timetable);
            plugin.firstRun = std::chrono::seconds(timing.FirstRun(plugin.batch));
            plugin.period = std::chrono::seconds(timing.period);
        }
    }
}

std::string WhyEnabled(const Sentrel::PluginEntry& entry) {
    std::vector<std::string> why;
    if (!entry.enabled) {
        why.emplace_back("enabled is missing, which counts as true");
    }
    if (!entry.frequency) {
        why.emplace_back("frequency is missing, which counts as fast");
    } else if (!NamesQueue(*entry.frequency)) {
        why.emplace_back("frequency \"" + *entry.frequency +
                         "\" is not a queue and counts as fast");
    }
    if (entry.logLevel && entry.info.logLevel.empty()) {
        why.emplace_back("log_level \"" + *entry.logLevel +
                         "\" is not a log level and is not passed on");
    }
    return why.empty() ? "its configuration says so" : Joined(why, "; ");
}

}  // namespace

bool NamesQueue(const std::string& frequency) {
    Sentrel::PluginInfo info;
    Sentrel::SetFrequency(info, frequency);
    const std::string_view fast = Sentrel::kQueueNames.front();
    return info.frequency != 0 || ::strncasecmp(frequency.c_str(), fast.data(), fast.size()) == 0;
}

PluginSurvey SurveyPlugins() {
    PluginSurvey survey;
    survey.hasDirectory = HasPluginDirectory();
    const auto settings = ReadDaemonSettingsOrDefaults();
    std::int32_t fastMinutes = 0;
    (void)settings->GetInt("fast_queue/time_period_in_mins", fastMinutes);  // or 0
    survey.configuredFastMinutes = Sentrel::FastPeriodMinutes(fastMinutes);
    survey.poolSizeMB = Sentrel::ConfiguredResourcePoolSizeMB(settings);
    if (survey.hasDirectory) {
        Sentrel::ExaminePlugins(SilentLogger(), [&survey](const Sentrel::PluginEntry& entry) {
            SurveyedPlugin plugin{.entry = entry, .location = Sys::HostPath(entry.info.path)};
            if (plugin.IsEnabled()) {
                plugin.batch = CountOf(entry.info.frequency, survey.counts)++;
            }
            survey.entries.push_back(std::move(plugin));
        });
    }
    ApplyTimetable(survey);
    return survey;
}

void RequireDirectory(const PluginSurvey& survey) {
    if (!survey.hasDirectory) {
        const std::string directory = Sys::HostPath(Sentrel::kPluginDirectory);
        throw Failure(
            "there is no plugin directory " + directory + ", so the daemon does not start",
            "mkdir -p " + directory);
    }
}

std::string_view QueueOf(const SurveyedPlugin& plugin) {
    return Sentrel::kQueueNames[plugin.entry.info.frequency];
}

std::string_view StateOf(const SurveyedPlugin& plugin) {
    return kStates[static_cast<std::size_t>(plugin.entry.verdict)];
}

std::string WhyOf(const SurveyedPlugin& plugin) {
    switch (plugin.entry.verdict) {
        case Sentrel::PluginVerdict::Enabled:
            return WhyEnabled(plugin.entry);
        case Sentrel::PluginVerdict::Disabled:
            return "its configuration says \"enabled\": false";
        case Sentrel::PluginVerdict::Directory:
            return "a directory is no plugin";
        default:
            return plugin.entry.problem;
    }
}

Tabulon::EntryPaths StoreFilesOf(const std::string& plugin) {
    try {
        return Tabulon::PathsOf(Sentrel::EntryOfPlugin(plugin));
    } catch (const Pellmar::InvalidArgumentException&) {
        return {};
    }
}

}  // namespace Ctl
