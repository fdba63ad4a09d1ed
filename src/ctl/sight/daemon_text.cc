#include "ctl/sight/daemon_text.h"

#include "ctl/host/run_user.h"
#include "ctl/show/durations.h"

#include <array>
#include <chrono>

#include <unistd.h>

namespace Ctl {

std::string HostName() {
    std::array<char, 256> name{};
    return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "this host";
}

std::string DaemonText(const Host& host) {
    if (!host.daemon) {
        return host.portHolder ? "not running; port " + std::to_string(host.intakePort) +
                                     " is held by " + host.portHolder->name
                               : "not running, or not visible to this user";
    }
    const auto running =
        std::chrono::duration_cast<std::chrono::seconds>(host.now - host.daemon->started);
    return "running for " + DurationText(running) + " as " + NameOfUser(host.user.user) +
           " (process " + std::to_string(host.daemon->pid) + "); intake " +
           std::to_string(host.intakePort) + ", API 9984";
}

}  // namespace Ctl
