// The daemon's own settings: the name of its entry in the configuration store, and the reading of
// those of the intake. Settings that one part alone reads are that part's.
#pragma once

#include "platform/pellmar/config.h"
#include "platform/pellmar/log/logger.h"

#include <cstdint>

namespace Sentrel {

// The store entry that holds the daemon's settings.
inline constexpr const char* kDaemonEntryKey = "sentrel";
inline constexpr const char* kDaemonEntryGroup = "health";
inline constexpr const char* kDaemonEntryComponent = "oru";

// How many report names the intake takes when "max_report_names" is not set.
inline constexpr std::int32_t kDefaultMaxReportNames = 4096;

// Where plugins post their reports when "http_port" is not set.
inline constexpr std::int32_t kDefaultHttpPort = 9996;

// The port of the reports API, which no setting changes.
inline constexpr std::uint16_t kApiPort = 9984;

// The intake port: the setting "http_port", whatever integer it is, or kDefaultHttpPort when it is
// absent, which `logger` is told at level 3. Each call reads, and tells, anew.
std::int32_t GetHttpPort(const Pellmar::Ref<Pellmar::Service::ConfigReader>& reader,
                         const Pellmar::Ref<Pellmar::Service::Logger>& logger);

// How many report names the intake takes: the setting "max_report_names", or the default when it is
// absent or, which `logger` is told at level 3, less than 1.
std::int32_t GetMaxReportNames(const Pellmar::Ref<Pellmar::Service::ConfigReader>& reader,
                               const Pellmar::Ref<Pellmar::Service::Logger>& logger);

}  // namespace Sentrel
