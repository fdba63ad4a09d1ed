// The plugins' resource group: checks it before a launch, reads its settings, and logs its memory
// usage.
#pragma once

#include "platform/kernel/groups/group_backend.h"
#include "platform/pellmar/config.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"

#include <cstdint>

namespace Sentrel {

inline constexpr const char* kPluginGroupPath = "host/pax/kolbern/sentrel-plugins";

// Megabytes reserved for all plugins together. The setting can only raise this default.
inline constexpr std::int32_t kDefaultResourcePoolSizeMB = 40;
inline constexpr std::int32_t kMaxResourcePoolSizeMB = 500;

// The bounds on megabytes and processes of all plugins together.
inline constexpr std::int32_t kDefaultMemoryLimitMB = 256;
inline constexpr unsigned kMaxPluginProcesses = 512;

// Whether a configured size replaces the default.
bool IsResourcePoolSize(std::int32_t megabytes);

// The size that the setting "plugin_resource_pool_size_MB" results in: the default if it is absent
// or outside the limits, which is not logged here.
std::int32_t ConfiguredResourcePoolSizeMB(
    const Pellmar::Ref<Pellmar::Service::ConfigReader>& reader);

// The memory limit that the setting "plugin_memory_limit_MB" results in: 0 for no limit, otherwise
// at least the pool's size; a negative setting means the default.
std::int32_t MemoryLimitMB(std::int32_t configured, std::int32_t poolSizeMB);

// The limits of the group according to the settings.
Kernel::GroupLimits PluginGroupLimits(const Pellmar::Ref<Pellmar::Service::ConfigReader>& reader,
                                      std::int32_t poolSizeMB);

// Checks before every launch that the kernel interface matches and the group exists and can be
// queried. On the first failure logs a line at level 3 and returns false.
bool CheckResourcePool(const Pellmar::Ref<Pellmar::Service::Logger>& logger);

// Logs the group's peak reservations at level 5. If they cannot be read, logs a line at level 3 and
// returns false.
bool LogGroupMemory(const Pellmar::Ref<Pellmar::Service::Logger>& logger);

}  // namespace Sentrel
