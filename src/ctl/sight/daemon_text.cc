#include "ctl/sight/daemon_text.h"

#include "ctl/host/daemon_process.h"
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
    if (host.isElsewhere) {
        return "visible only through " + host.apiUrl;
    }
    if (!host.daemon && host.portHolder) {
        const std::optional<std::string> root = OtherRootOf(host.portHolder->pid);
        return "not running; port " + std::to_string(host.intakePort) + " is held by " +
               host.portHolder->name + (root ? " of the host root " + *root : "");
    }
    if (!host.daemon && !host.state) {
        return ::geteuid() == 0 ? "not running" : "not running, or not visible to this user";
    }
    if (host.daemon && host.daemon->isStopped) {
        return "process " + std::to_string(host.daemon->pid) +
               " is stopped by a signal; continue it: kill -CONT " +
               std::to_string(host.daemon->pid);
    }
    const auto running = std::chrono::duration_cast<std::chrono::seconds>(
        host.now - (host.daemon ? host.daemon->started : host.state->started));
    if (!host.daemon) {
        return "running for " + DurationText(running) + " (process not visible to this user)";
    }
    return "running for " + DurationText(running) + " as " + NameOfUser(host.user.user) +
           " (process " + std::to_string(host.daemon->pid) + "); intake " +
           std::to_string(FindIntakePortOf(host.daemon->pid, host.intakePort)) + ", API 9984";
}

}  // namespace Ctl
