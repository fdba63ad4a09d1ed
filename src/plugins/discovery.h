// Which plugins there are, and what the configuration store says of each.
#pragma once

#include "platform/pellmar/logger.h"
#include "platform/pellmar/object.h"
#include "platform/tabulon/entry_files.h"
#include "plugins/plugin.h"

#include <array>
#include <functional>
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

// Fills in what the store says of the plugin `info.name`; what it leaves out stays as it is. False
// when the store can't provide the plugin's entry. `logger` is told what was found and what not.
bool LoadPluginConfig(PluginInfo& info, const Pellmar::Ref<Pellmar::Service::Logger>& logger);

// Gives the enabled plugins to `take`, in byte order of their names, each as soon as it is found.
// `logger` is told which entries are left out and why. Throws Pellmar::IOException when the
// directory can't be listed.
void FindPlugins(const Pellmar::Ref<Pellmar::Service::Logger>& logger,
                 const std::function<void(const PluginInfo&)>& take);

}  // namespace Sentrel
