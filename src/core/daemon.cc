// The parts are members, so that an exception during the start leaves them in place: a failed start
// ends the process at once.
#include "core/daemon.h"

#include "core/settings/settings.h"
#include "core/status_line.h"
#include "platform/kernel/groups/groups.h"
#include "platform/kernel/spawn/sandbox.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/service/app.h"
#include "plugins/plugin.h"
#include "plugins/plugin_launcher.h"
#include "plugins/resource_group.h"
#include "state/state_writer.h"

#include <boost/asio/io_context.hpp>

#include <cstdint>
#include <exception>

#include <malloc.h>

namespace Sentrel {

Daemon::Daemon() = default;

Daemon::~Daemon() = default;

void Daemon::Run(const std::string& reportDirectory) {
    try {
        Start(reportDirectory);
        Pellmar::Service::GetApp().Run();
    } catch (const std::exception& exception) {
        Pellmar::Service::LogInternal(Pellmar::Service::GetApp().GetLogger(), 3,
                                      "Exiting due to exception: %1", exception.what());
        Pellmar::System::QuickExit(1);
    }
    TearDown();
    Pellmar::System::QuickExit(0);
}

void Daemon::Start(const std::string& reportDirectory) {
    StateWriter::OfThisProcess().Open(Pellmar::Service::GetApp().GetLogger());
    KeepStatusLine();
    configReader = Pellmar::Service::GetApp().GetConfig()->GetReader();
    intakeEndpoint = Pellmar::MakeRef<Endpoint>();
    intakeEndpoint->Start(configReader, reportDirectory);
    PluginLauncher::GetInstance()->Start();
    intakeEndpoint->ReserveNames(PluginLauncher::GetInstance()->PluginNames());
    // The first launch is half a minute away, so this is early enough.
    const std::int32_t poolSizeMB = Plugin::sResourcePoolSizeMB;
    Kernel::PrepareGroups(kPluginGroupPath, static_cast<unsigned>(poolSizeMB),
                          PluginGroupLimits(configReader, poolSizeMB));
    Kernel::ProtectFromPlugins();
    ioService = std::make_unique<boost::asio::io_context>();
    apiEndpoint = Pellmar::MakeRef<HealthApi::Endpoint>(kApiPort, *ioService);
    apiEndpoint->Start(reportDirectory);
    Pellmar::Service::LogInternal(Pellmar::Service::GetApp().GetLogger(), 5,
                                  {.event = Pellmar::Service::LogEvent::Start},
                                  "quon endpoint started at %1", kApiPort);
    (void)::malloc_trim(
        0);  // what reading settings and metadata needed; the result does not matter
}

void Daemon::TearDown() {
    apiEndpoint.Reset();
    ioService.reset();
    intakeEndpoint.Reset();
    configReader.Reset();
}

}  // namespace Sentrel
