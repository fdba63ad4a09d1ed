// The kernel's resource group of the plugins: whether it is fit for a launch, what it has used.
#pragma once

#include "platform/kernel/groups/group_backend.h"
#include "platform/pellmar/config.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"

#include <cstdint>

namespace Sentrel {

inline constexpr const char* kPluginGroupPath = "host/pax/kolbern/sentrel-plugins";

// Megabytes that are reserved for all plugins together. Only more than the default replaces it.
inline constexpr std::int32_t kDefaultResourcePoolSizeMB = 40;
inline constexpr std::int32_t kMaxResourcePoolSizeMB = 500;

// Megabytes and processes that all plugins together may use.
inline constexpr std::int32_t kDefaultMemoryLimitMB = 256;
inline constexpr unsigned kMaxPluginProcesses = 512;

// Whether a configured size replaces the default.
bool IsResourcePoolSize(std::int32_t megabytes);

// The size that the setting "plugin_resource_pool_size_MB" gives; the default when it is absent or
// outside the limits, of which nothing is logged here.
std::int32_t ConfiguredResourcePoolSizeMB(
    const Pellmar::Ref<Pellmar::Service::ConfigReader>& reader);

// The memory limit in effect for the setting "plugin_memory_limit_MB": 0 for none, never below the
// pool's size; the default for a negative one.
std::int32_t MemoryLimitMB(std::int32_t configured, std::int32_t poolSizeMB);

// What the group is limited to by the settings.
Kernel::GroupLimits PluginGroupLimits(const Pellmar::Ref<Pellmar::Service::ConfigReader>& reader,
                                      std::int32_t poolSizeMB);

// Before every launch: the kernel interface agrees, the group exists and answers. False, with one
// level-3 line, at the first check that fails.
bool CheckResourcePool(const Pellmar::Ref<Pellmar::Service::Logger>& logger);

// Logs the group's peak reservations at level 5. False, with one level-3 line, when they cannot be
// read.
bool LogGroupMemory(const Pellmar::Ref<Pellmar::Service::Logger>& logger);

}  // namespace Sentrel
