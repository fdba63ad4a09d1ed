// The kernel's resource group of the plugins: whether it is fit for a launch, what it has used.
#pragma once

#include "platform/pellmar/logger.h"
#include "platform/pellmar/object.h"

namespace Sentrel {

inline constexpr const char* kPluginGroupPath = "host/pax/kolbern/sentrel-plugins";

// Before every launch: the kernel interface agrees, the group exists and answers. False, with one
// level-3 line, at the first check that fails.
bool CheckResourcePool(const Pellmar::Ref<Pellmar::Service::Logger>& logger);

// Logs the group's peak reservations at level 5. False, with one level-3 line, when they cannot be
// read.
bool LogGroupMemory(const Pellmar::Ref<Pellmar::Service::Logger>& logger);

}  // namespace Sentrel
