#include "plugins/discovery.h"

#include "platform/pellmar/config.h"
#include "platform/pellmar/exceptions.h"
#include "platform/pellmar/system/system_factory.h"
#include "platform/sys/host_root.h"
#include "platform/tabulon/json_config.h"

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>

#include <strings.h>

namespace Sentrel {

using Pellmar::Ref;
using Pellmar::Service::ConfigReader;
using Pellmar::Service::Logger;
using Pellmar::Service::LogInternal;

namespace {

bool BeginsWithIgnoringCase(const std::string& text, const char* name) {
    return ::strncasecmp(text.c_str(), name, std::strlen(name)) == 0;
}

Ref<ConfigReader> OpenPluginEntry(const std::string& name) {
    const Ref<Pellmar::Service::Config> config =
        Tabulon::CreateTabulonConfigWithSettings({EntryOfPlugin(name)}, /*mayBeMissing=*/false,
                                                 /*useVendorFile=*/true, /*useHostFile=*/true);
    config->Initialize();
    return config->GetReader();
}

void LogMissingKey(const Ref<Logger>& logger, const std::string& name, const char* key) {
    LogInternal(logger, 3, "Failed to locate Tabulon key: %1.%2", name, key);
}

// Fills in the plugin's settings from the store; missing ones keep their defaults. Returns false
// if the store cannot provide the plugin's entry.
bool LoadPluginConfig(PluginInfo& info, const Ref<Logger>& logger) {
    try {
        const Ref<ConfigReader> reader = OpenPluginEntry(info.name);
        std::string frequency;
        if (reader->GetString("frequency", frequency)) {
            SetFrequency(info, frequency);
        } else {
            LogMissingKey(logger, info.name, "frequency");
        }
        std::string logLevel;
        if (reader->GetString("log_level", logLevel)) {
            SetLogLevel(info, logLevel);
        } else {
            LogMissingKey(logger, info.name, "log_level");
        }
        (void)reader->GetBool("sandbox", info.sandbox);  // sandboxed by default
        if (!reader->GetBool("enabled", info.enabled)) {
            LogMissingKey(logger, info.name, "enabled");
            return true;
        }
        if (!info.enabled) {
            LogInternal(logger, 5, "%1 plugin disabled", info.name);
        } else {
            LogInternal(logger, 5, "%1 plugin configuration: log_level=%2 frequency=%3", info.name,
                        logLevel, frequency);
        }
        return true;
    } catch (const Pellmar::NotFoundException& exception) {
        LogInternal(logger, 3, "Failed to create Tabulon config: Exception : %1", exception.what());
        return false;
    }
}

PluginVerdict Examine(const Pellmar::System::File& file, PluginEntry& entry,
                      const Ref<Logger>& logger) {
    PluginInfo& info = entry.info;
    std::error_code error;  // an entry of unknown type counts as a plugin
    if (std::filesystem::is_directory(std::filesystem::status(file.GetPath(), error))) {
        LogInternal(logger, 6, "Skipping the directory: %1", info.path);
        return PluginVerdict::Directory;
    }
    if (!LoadPluginConfig(info, logger)) {
        LogInternal(logger, 3, "Failed to load configuration for: %1", info.name);
        return PluginVerdict::NoConfiguration;
    }
    LogInternal(logger, 7, "Successfully loaded configuration for: %1", info.name);
    if (!info.enabled) {
        LogInternal(logger, 5, "Plugin disabled by configuration: %1", info.name);
        return PluginVerdict::Disabled;
    }
    return PluginVerdict::Enabled;
}

}  // namespace

Tabulon::StoreEntry EntryOfPlugin(const std::string& name) {
    const char* component = name.starts_with("test_") ? "oru_dev_only" : "oru";
    return {.first = "", .key = name, .group = "health", .component = component, .last = ""};
}

void SetFrequency(PluginInfo& info, const std::string& text) {
    info.frequency = 0;
    for (std::uint32_t index = 0; index < kQueueNames.size(); ++index) {
        if (BeginsWithIgnoringCase(text, kQueueNames[index])) {
            info.frequency = index;
            return;
        }
    }
}

void SetLogLevel(PluginInfo& info, const std::string& text) {
    for (const char* name : kLogLevelNames) {
        if (BeginsWithIgnoringCase(text, name)) {
            info.logLevel = name;
        }
    }
}

void ExaminePlugins(const Ref<Logger>& logger,
                    const std::function<void(const PluginEntry&)>& take) {
    const auto directory = Pellmar::System::SystemFactory::GetFile(Sys::HostPath(kPluginDirectory));
    for (const Ref<Pellmar::System::File>& file : directory->List(-1)) {
        PluginEntry entry;
        entry.info.name = file->GetName();
        entry.info.path = kPluginDirectory + entry.info.name;
        entry.verdict = Examine(*file, entry, logger);
        take(entry);
    }
}

}  // namespace Sentrel
