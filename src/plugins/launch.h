// Starting one plugin through the host's spawn call. When that is done, and when a plugin is ended,
// is the launcher's business.
#pragma once

#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "platform/sys/pid_fd.h"
#include "plugins/plugin.h"

#include <cstdint>

namespace Sentrel {

struct Launch {
    enum class Result {
        Started,  // it may have ended since
        Refused,  // the kernel interface or the resource group is not fit for it: nothing was tried
        Failed    // `error` kept the program from being executed
    };
    Result result = Result::Started;
    std::int32_t pid = 0;  // of a started one, which Kernel::Kill knows then
    int error = 0;         // of a failed one: an error number
};

// Whether a plugin runs in the sandbox when this process launches it: it would have the same user,
// which is not root, and its entry does not lift it.
bool IsSandboxed(const PluginInfo& info);

// Checks the resource group and starts the plugin in it, with the descriptors 0 to 2 of this
// process, in the sandbox if IsSandboxed says so. `logger` is told each step, and why there is none
// further. Any thread.
//
// `process`, where given, holds the started process, even if it has ended.
Launch LaunchPlugin(const Plugin& plugin, const Pellmar::Ref<Pellmar::Service::Logger>& logger,
                    Sys::PidFd* process = nullptr);

}  // namespace Sentrel
