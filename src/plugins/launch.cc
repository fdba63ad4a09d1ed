#include "plugins/launch.h"

#include "platform/kernel/spawn/process_table.h"
#include "platform/kernel/spawn/spawn.h"
#include "plugins/resource_group.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <string>
#include <system_error>

#include <unistd.h>

namespace Sentrel {

using Pellmar::Ref;
using Pellmar::Service::LogEvent;
using Pellmar::Service::Logger;
using Pellmar::Service::LogInternal;

namespace {

std::string ErrorText(int errorNumber) { return std::generic_category().message(errorNumber); }

Kernel::SpawnResult Spawn(const Plugin& plugin, std::int32_t& pid) {
    static constexpr std::array<std::int32_t, 3> kDescriptors{0, 1, 2};
    char* environment[] = {nullptr};
    Kernel::SpawnRecord record;
    record.pidAddress = reinterpret_cast<std::uintptr_t>(&pid);
    return Kernel::Spawn(
        plugin.GetArgv()[0], plugin.GetArgv(), environment, -1, kDescriptors.data(), &record,
        IsSandboxed(plugin.GetInfo()) ? Kernel::Confinement::Sandbox : Kernel::Confinement::None);
}

}  // namespace

bool IsSandboxed(const PluginInfo& info) { return info.sandbox && ::geteuid() != 0; }

Launch LaunchPlugin(const Plugin& plugin, const Ref<Logger>& logger, Sys::PidFd* process) {
    const std::string& name = plugin.GetName();
    const std::string commandLine = FormatCommandLine(plugin);
    if (!CheckResourcePool(logger)) {
        LogInternal(logger, 3, {.plugin = name, .event = LogEvent::Refusal},
                    "Failed resource pool prechecks; cannot launch plugin: %1", commandLine);
        return {.result = Launch::Result::Refused};
    }
    LogInternal(logger, 5, {.plugin = name, .event = LogEvent::Launch}, "Launching binary: %1",
                commandLine);
    std::int32_t pid = 0;
    const Kernel::SpawnResult result = Spawn(plugin, pid);
    if (result.error != 0) {
        errno = -result.error;
    }
    const int launchError = errno;
    if (result.status != Kernel::kStatusSuccess) {
        LogInternal(logger, 3, {.plugin = name}, "Plugin launch failed: %1",
                    ErrorText(launchError));
        (void)LogGroupMemory(logger);  // informs the reader of the failure; nothing depends on it
        return {.result = Launch::Result::Failed, .pid = pid, .error = launchError};
    }
    if (process != nullptr) {
        *process = Kernel::ProcessTable::Spawned().Hold(pid);
    }
    if (Kernel::Kill(pid, 0) != 0) {
        const int probeError = errno;
        LogInternal(logger, 3, {.plugin = name, .pid = pid},
                    "Plugin launched but failed to run: %1", ErrorText(probeError));
        (void)LogGroupMemory(logger);  // likewise
        return {.pid = pid};
    }
    LogInternal(logger, 6, {.plugin = name, .pid = pid}, "Pushed plugin %1 (%2) for tracking",
                plugin.GetPath(), pid);
    return {.pid = pid};
}

}  // namespace Sentrel
