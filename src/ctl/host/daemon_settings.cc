#include "ctl/host/daemon_settings.h"

#include "core/settings/settings.h"
#include "ctl/show/failure.h"
#include "ctl/show/note.h"
#include "platform/sys/host_root.h"
#include "platform/tabulon/json_config.h"

#include <string>

namespace Ctl {

namespace {

const Tabulon::StoreEntry kDaemonEntry = {.first = "",
                                          .key = Sentrel::kDaemonEntryKey,
                                          .group = Sentrel::kDaemonEntryGroup,
                                          .component = Sentrel::kDaemonEntryComponent,
                                          .last = ""};

}  // namespace

Pellmar::Ref<Pellmar::Service::ConfigReader> ReadDaemonSettings() {
    try {
        const Pellmar::Ref<Pellmar::Service::Config> config =
            Tabulon::CreateTabulonConfigWithFallbackToDefault({kDaemonEntry});
        config->Initialize();
        return config->GetReader();
    } catch (const Pellmar::Exception& exception) {
        const std::string advice = exception.Advice();
        throw Failure(
            "cannot read the daemon's settings: " + Sys::HostPath(exception.WhatHappened()),
            IsDeniedToThisUser(exception) ? "run this as root"
            : advice.empty()              ? "correct that file, or remove it"
                                          : advice,
            exception.ErrorNumber());
    }
}

Pellmar::Ref<Pellmar::Service::ConfigReader> ReadDaemonSettingsOrDefaults() {
    try {
        return ReadDaemonSettings();
    } catch (const Failure& failure) {
        NoteOnce("warning: " + std::string(failure.what()) + "; assuming the defaults");
        const Pellmar::Ref<Pellmar::Service::Config> defaults =
            Tabulon::CreateTabulonConfigWithSettings({kDaemonEntry}, true, false, false);
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
