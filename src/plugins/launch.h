// Starts one plugin through the host's spawn call. The launcher decides when to start and terminate
// plugins.
#pragma once

#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "platform/sys/pid_fd.h"
#include "plugins/plugin.h"

#include <cstdint>

namespace Sentrel {

struct Launch {
    enum class Result {
        Started,  // though it may have exited since
        Refused,  // by the check of kernel interface and resource group; nothing was started
        Failed    // the exec failed with `error`
    };
    Result result = Result::Started;
    std::int32_t pid = 0;  // if started; Kernel::Kill can signal it
    int error = 0;         // if failed: an error number
};

// Whether a plugin launched by this process runs in the sandbox: the process is not root, and the
// plugin's entry does not switch the sandbox off.
bool IsSandboxed(const PluginInfo& info);

// Checks the resource group and starts the plugin in it, with the descriptors 0 to 2 of this
// process, in the sandbox if IsSandboxed. Logs each step and why a launch ends early. Any thread.
//
// If `process` is given, it is set to the started process, even if that has already exited.
Launch LaunchPlugin(const Plugin& plugin, const Pellmar::Ref<Pellmar::Service::Logger>& logger,
                    Sys::PidFd* process = nullptr);

}  // namespace Sentrel
