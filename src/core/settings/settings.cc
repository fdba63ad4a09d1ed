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

}  // namespace Sentrel
