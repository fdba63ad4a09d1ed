// Which plugins there are, and what the configuration store says of each.
#pragma once

#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "platform/tabulon/entry_files.h"
#include "plugins/plugin.h"

#include <array>
#include <functional>
#include <optional>
#include <string>

namespace Sentrel {

// Every entry of this directory that is not a directory is a plugin.
inline constexpr const char* kPluginDirectory = "/usr/lib/korvex/sentrel/plugins/bin/";

// By PluginInfo::frequency; and what PluginInfo::logLevel may be.
inline constexpr std::array<const char*, 3> kQueueNames{"fast", "medium", "slow"};
inline constexpr std::array<const char*, 5> kLogLevelNames{"debug", "info", "warning", "error",
                                                           "critical"};

// The store entry of the plugin of that name.
Tabulon::StoreEntry EntryOfPlugin(const std::string& name);

// Sets the queue whose name `text` begins with, in any case; the fast queue for any other text.
void SetFrequency(PluginInfo& info, const std::string& text);

// Sets the log level whose name `text` begins with, in any case; any other text changes nothing.
void SetLogLevel(PluginInfo& info, const std::string& text);

enum class PluginVerdict {
    Enabled,
    Disabled,        // by its configuration
    Directory,       // no plugin
    NoConfiguration  // the store can't provide its entry
};

// One entry of the plugin directory and what becomes of it.
struct PluginEntry {
    PluginInfo info;
    PluginVerdict verdict = PluginVerdict::Enabled;
    // As they stand in the store; nothing for what is missing there or of another type.
    std::optional<std::string> frequency;
    std::optional<std::string> logLevel;
    std::optional<bool> enabled;
    std::string problem;  // with NoConfiguration: the store's reason
};

// Gives all entries of the plugin directory to `take`, in byte order of their names, each as soon
// as it is examined. `logger` is told which are left out and why. Throws Pellmar::IOException when
// the directory can't be listed.
void ExaminePlugins(const Pellmar::Ref<Pellmar::Service::Logger>& logger,
                    const std::function<void(const PluginEntry&)>& take);

}  // namespace Sentrel
