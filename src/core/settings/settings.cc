#include "core/settings/settings.h"

namespace Sentrel {

std::int32_t GetHttpPort(const Pellmar::Ref<Pellmar::Service::ConfigReader>& reader,
                         const Pellmar::Ref<Pellmar::Service::Logger>& logger) {
    std::int32_t port = kDefaultHttpPort;
    if (!reader->GetInt("http_port", port)) {
        Pellmar::Service::LogInternal(logger, 3, "httpPort not present. Assuming default: %1",
                                      kDefaultHttpPort);
    }
    return port;
}

std::int32_t GetMaxReportNames(const Pellmar::Ref<Pellmar::Service::ConfigReader>& reader,
                               const Pellmar::Ref<Pellmar::Service::Logger>& logger) {
    std::int32_t names = kDefaultMaxReportNames;
    (void)reader->GetInt("max_report_names", names);  // keeps the default when missing
    if (names < 1) {
        Pellmar::Service::LogInternal(logger, 3,
                                      "Invalid max_report_names %1: must be at least 1; using %2",
                                      names, kDefaultMaxReportNames);
        return kDefaultMaxReportNames;
    }
    return names;
}

}  // namespace Sentrel
