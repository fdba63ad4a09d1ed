#include "ctl/host/plugin_survey.h"

#include "ctl/host/daemon_settings.h"
#include "ctl/show/failure.h"
#include "platform/pellmar/exceptions.h"
#include "platform/sys/host_root.h"
#include "plugins/resource_group.h"

#include <array>
#include <cerrno>
#include <utility>

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
    throw Failure("cannot read the plugin directory " + directory, errorNumber, "run this as root");
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

}  // namespace

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
        throw Failure(directory + " is missing, so the daemon does not start",
                      "mkdir -p " + directory);
    }
}

std::string_view QueueOf(const SurveyedPlugin& plugin) {
    return Sentrel::kQueueNames[plugin.entry.info.frequency];
}

std::string_view StateOf(const SurveyedPlugin& plugin) {
    return kStates[static_cast<std::size_t>(plugin.entry.verdict)];
}

Tabulon::EntryPaths StoreFilesOf(const std::string& plugin) {
    try {
        return Tabulon::PathsOf(Sentrel::EntryOfPlugin(plugin));
    } catch (const Pellmar::InvalidArgumentException&) {
        return {};
    }
}

}  // namespace Ctl
