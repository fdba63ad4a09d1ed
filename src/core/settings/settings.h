// The name of the daemon's entry in the configuration store, and the settings of the intake. Each
// other part reads its own settings.
#pragma once

#include "platform/pellmar/config.h"
#include "platform/pellmar/log/logger.h"

#include <cstdint>

namespace Sentrel {

// The store entry with the daemon's settings.
inline constexpr const char* kDaemonEntryKey = "sentrel";
inline constexpr const char* kDaemonEntryGroup = "health";
inline constexpr const char* kDaemonEntryComponent = "oru";

// The number of report names that the intake accepts when "max_report_names" is not set.
inline constexpr std::int32_t kDefaultMaxReportNames = 4096;

// The port on which plugins post their reports when "http_port" is not set.
inline constexpr std::int32_t kDefaultHttpPort = 9996;

// The port of the reports API, which no setting changes.
inline constexpr std::uint16_t kApiPort = 9984;

// The intake port: the setting "http_port" as it is, or kDefaultHttpPort when it is absent, which
// is logged at level 3. Each call reads the setting and logs again.
std::int32_t GetHttpPort(const Pellmar::Ref<Pellmar::Service::ConfigReader>& reader,
                         const Pellmar::Ref<Pellmar::Service::Logger>& logger);

// The number of report names that the intake accepts: the setting "max_report_names", or the
// default if it is absent or less than 1; the latter is logged at level 3.
std::int32_t GetMaxReportNames(const Pellmar::Ref<Pellmar::Service::ConfigReader>& reader,
                               const Pellmar::Ref<Pellmar::Service::Logger>& logger);

}  // namespace Sentrel
