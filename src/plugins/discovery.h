// Finds the plugins and reads the settings of each from the configuration store.
#pragma once

#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "platform/tabulon/entry_files.h"
#include "plugins/plugin.h"

#include <array>
#include <functional>
#include <string>

namespace Sentrel {

// Every entry of this directory is a plugin, except directories.
inline constexpr const char* kPluginDirectory = "/usr/lib/korvex/sentrel/plugins/bin/";

// The queues, by PluginInfo::frequency, and the values of PluginInfo::logLevel.
inline constexpr std::array<const char*, 3> kQueueNames{"fast", "medium", "slow"};
inline constexpr std::array<const char*, 5> kLogLevelNames{"debug", "info", "warning", "error",
                                                           "critical"};

// The store entry of the plugin with that name.
Tabulon::StoreEntry EntryOfPlugin(const std::string& name);

// Sets the queue whose name `text` starts with, ignoring case; for any other text the fast queue.
void SetFrequency(PluginInfo& info, const std::string& text);

// Sets the log level whose name `text` starts with, ignoring case; any other text changes nothing.
void SetLogLevel(PluginInfo& info, const std::string& text);

enum class PluginVerdict {
    Enabled,
    Disabled,        // by its configuration
    Directory,       // not a plugin
    NoConfiguration  // the store cannot provide its entry
};

// An entry of the plugin directory and the verdict on it.
struct PluginEntry {
    PluginInfo info;
    PluginVerdict verdict = PluginVerdict::Enabled;
};

// Passes all entries of the plugin directory to `take`, sorted by the bytes of their names, each as
// soon as it is examined. Logs which ones are left out and why. Throws Pellmar::IOException if the
// directory cannot be listed.
void ExaminePlugins(const Pellmar::Ref<Pellmar::Service::Logger>& logger,
                    const std::function<void(const PluginEntry&)>& take);

}  // namespace Sentrel
