// The daemon's settings on this host, read as the daemon reads them at its start.
#pragma once

#include "platform/pellmar/config.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"

namespace Ctl {

// Throws Failure when the store entry is broken.
Pellmar::Ref<Pellmar::Service::ConfigReader> ReadDaemonSettings();

// The same; where the entry is broken all defaults, which is said once on standard error.
Pellmar::Ref<Pellmar::Service::ConfigReader> ReadDaemonSettingsOrDefaults();

// For the daemon's code that this program runs: writes nothing, and from then on neither does the
// default logger, since all that the tool has to say is its result or its one line of failure.
Pellmar::Ref<Pellmar::Service::Logger> SilentLogger();

}  // namespace Ctl
