// The daemon's start-up: framework, reaping of children, command line, then the run phase. A
// failure before the run phase ends the process with status 1.
#include "core/daemon.h"
#include "core/settings/settings.h"
#include "platform/hostlib/hostlib.h"
#include "platform/pellmar/config.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/service/app.h"
#include "platform/sys/journal_stream.h"
#include "platform/tabulon/json_config.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <system_error>

#include <signal.h>
#include <unistd.h>

namespace {

using Pellmar::Ref;
using Pellmar::Service::Logger;
using Pellmar::Service::LogInternal;

// The build sets the version and may override the build number.
#ifdef SENTREL_BUILD_NUMBER
constexpr std::uint32_t kBuildNumber = SENTREL_BUILD_NUMBER;
#else
constexpr std::uint32_t kBuildNumber = 1;
#endif

Tabulon::StoreEntry DaemonStoreEntry() {
    return {.first = "",
            .key = Sentrel::kDaemonEntryKey,
            .group = Sentrel::kDaemonEntryGroup,
            .component = Sentrel::kDaemonEntryComponent,
            .last = ""};
}

// Returns false after printing a line to standard error, since no logger exists yet, if the
// framework fails to initialise.
bool InitFramework() {
    try {
        FeatureState_InitSilentMode();
        Pellmar::Service::SetAppInfo({.name = "sentrel",
                                      .version = SENTREL_VERSION,
                                      .buildNumber = kBuildNumber,
                                      .reserved = 0});
        const Ref<Pellmar::Service::Config> config =
            Tabulon::CreateTabulonConfigWithFallbackToDefault({DaemonStoreEntry()});
        config->Initialize();
        Pellmar::Service::InitApp(config);
        return true;
    } catch (const std::exception& exception) {
        const std::string line = std::string(Sys::ErrorPrefix()) +
                                 "Initializing FSS/Pellmar failed: " + exception.what() + "\n";
        (void)std::fputs(line.c_str(), stderr);  // there is nowhere else to report it
        return false;
    }
}

// Makes the kernel reap children when they exit: plugins never become zombies, and their exit
// statuses are lost.
bool IgnoreChildExits(const Ref<Logger>& logger) {
    struct sigaction action = {};
    action.sa_handler = SIG_IGN;
    (void)sigemptyset(&action.sa_mask);  // cannot fail for a local set
    if (sigaction(SIGCHLD, &action, nullptr) == -1) {
        const int errorNumber = errno;
        LogInternal(logger, 3, "%1: sigaction() failed %2 %3", "SignalHandlerInit", errorNumber,
                    std::generic_category().message(errorNumber));
        return false;
    }
    return true;
}

// The directory of the last -r, ending in "/"; empty without -r. Nothing, after getopt's message on
// standard error, for an unknown option.
std::optional<std::string> ReadReportDirectory(int argc, char* argv[], const Ref<Logger>& logger) {
    std::string reportDirectory;
    int option = 0;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the process has one thread so far
    while ((option = getopt(argc, argv, "r:")) != -1) {
        if (option != 'r') {
            return std::nullopt;
        }
        reportDirectory = optarg;
        if (!reportDirectory.ends_with('/')) {
            reportDirectory += '/';
        }
        LogInternal(logger, 6, "Report directory is %1", reportDirectory);
    }
    return reportDirectory;
}

}  // namespace

int main(int argc, char* argv[]) {
    if (!InitFramework()) {
        return 1;
    }
    const Ref<Logger> logger = Pellmar::Service::GetApp().GetLogger();
    if (!IgnoreChildExits(logger)) {
        return 1;
    }
    const std::optional<std::string> reportDirectory = ReadReportDirectory(argc, argv, logger);
    if (!reportDirectory) {
        return 1;
    }
    Sentrel::Daemon().Run(*reportDirectory);
}
