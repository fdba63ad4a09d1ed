#include "ctl/host/daemon_settings.h"

#include "core/settings/settings.h"
#include "platform/pellmar/exceptions.h"
#include "platform/tabulon/json_config.h"

#include <string>

namespace Ctl {

Pellmar::Ref<Pellmar::Service::ConfigReader> ReadDaemonSettings() {
    const Tabulon::StoreEntry entry = {.first = "",
                                       .key = Sentrel::kDaemonEntryKey,
                                       .group = Sentrel::kDaemonEntryGroup,
                                       .component = Sentrel::kDaemonEntryComponent,
                                       .last = ""};
    try {
        const Pellmar::Ref<Pellmar::Service::Config> config =
            Tabulon::CreateTabulonConfigWithFallbackToDefault({entry});
        config->Initialize();
        return config->GetReader();
    } catch (const Pellmar::Exception& exception) {
        throw Pellmar::Exception(
            "the daemon's settings cannot be read: " + std::string(exception.what()) +
            "; make that file a readable JSON object, or remove it");
    }
}

Pellmar::Ref<Pellmar::Service::Logger> SilentLogger() {
    const Pellmar::Ref<Pellmar::Service::Logger>& logger = Pellmar::Service::Logger::sDefaultLogger;
    logger->SetLevel(0);
    return logger;
}

}  // namespace Ctl
