// The daemon's settings on this host, read as the daemon reads them at its start.
#pragma once

#include "platform/pellmar/config.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"

namespace Ctl {

// Throws Failure when the store entry is broken.
Pellmar::Ref<Pellmar::Service::ConfigReader> ReadDaemonSettings();

// Like ReadDaemonSettings, but if the entry is broken returns the defaults and says so once on
// standard error.
Pellmar::Ref<Pellmar::Service::ConfigReader> ReadDaemonSettingsOrDefaults();

// A logger that writes nothing, for daemon code that the tool calls. Also silences the default
// logger from then on, since the tool prints only its result or one line of failure.
Pellmar::Ref<Pellmar::Service::Logger> SilentLogger();

}  // namespace Ctl
