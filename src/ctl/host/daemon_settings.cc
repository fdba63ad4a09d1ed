#include "ctl/host/daemon_settings.h"

#include "core/settings/settings.h"
#include "ctl/show/failure.h"
#include "ctl/show/note.h"
#include "platform/sys/host_root.h"
#include "platform/tabulon/json_config.h"

#include <string>

namespace Ctl {

namespace {

// A store entry without files, so every setting is missing.
const Tabulon::StoreEntry kAbsentEntry = {.first = "",
                                          .key = "sentrel-defaults",
                                          .group = Sentrel::kDaemonEntryGroup,
                                          .component = Sentrel::kDaemonEntryComponent,
                                          .last = ""};

}  // namespace

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
        const std::string advice = exception.Advice();
        throw Failure(
            "cannot read the daemon's settings: " + Sys::HostPath(exception.WhatHappened()),
            advice + (advice.empty() ? "" : "; ") + "fix that file, or remove it",
            exception.ErrorNumber());
    }
}

Pellmar::Ref<Pellmar::Service::ConfigReader> ReadDaemonSettingsOrDefaults() {
    try {
        return ReadDaemonSettings();
    } catch (const Failure& failure) {
        NoteOnce("warning: " + std::string(failure.what()) + "; assuming the defaults");
        const Pellmar::Ref<Pellmar::Service::Config> defaults =
            Tabulon::CreateTabulonConfigWithFallbackToDefault({kAbsentEntry});
        defaults->Initialize();
        return defaults->GetReader();
    }
}

Pellmar::Ref<Pellmar::Service::Logger> SilentLogger() {
    const Pellmar::Ref<Pellmar::Service::Logger>& logger = Pellmar::Service::Logger::sDefaultLogger;
    logger->SetLevel(0);
    return logger;
}

}  // namespace Ctl
