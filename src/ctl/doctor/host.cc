#include "ctl/doctor/host.h"

#include "core/settings/settings.h"
#include "ctl/host/daemon_settings.h"
#include "ctl/host/listening_sockets.h"
#include "platform/sys/proc_file.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <sstream>
#include <string_view>

#include <pwd.h>

namespace Ctl {

namespace {

std::vector<ListeningSocket> SocketsOn(std::int32_t port) {
    return port > 0 && port <= std::numeric_limits<std::uint16_t>::max()
               ? FindListeningSockets(static_cast<std::uint16_t>(port))
               : std::vector<ListeningSocket>();
}

std::optional<ProcessStat> HolderOf(std::int32_t port) {
    const std::optional<pid_t> pid = FindOwner(SocketsOn(port), kDaemonName);
    return pid ? ReadProcessStat(*pid) : std::nullopt;
}

// Without a visible daemon the user sentrel, unless root's program listens on the intake port.
RunUser UserOfDaemon(const Host& host) {
    if (host.daemon) {
        if (std::optional<RunUser> user = UserOf(host.daemon->pid)) {
            return *user;
        }
    }
    const std::vector<ListeningSocket> sockets = SocketsOn(host.intakePort);
    if (!host.portHolder && !sockets.empty() && sockets.front().user == 0) {
        return RunUser{};
    }
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread asks for users
    const passwd* const entry = ::getpwnam(std::string(kDaemonName).c_str());
    return entry == nullptr ? RunUser{} : RunUser{entry->pw_uid, entry->pw_gid, {}};
}

// The last value of -r on a process's command line; nothing without one.
std::optional<std::string> OptionR(pid_t process) {
    std::istringstream arguments(
        Sys::ReadProcFile("/proc/" + std::to_string(process) + "/cmdline"));
    std::optional<std::string> value;
    for (std::string argument; std::getline(arguments, argument, '\0');) {
        if (argument == "-r" && std::getline(arguments, argument, '\0')) {
            value = argument;
        } else if (argument.starts_with("-r")) {
            value = argument.substr(2);
        }
    }
    return value;
}

void FindReports(Host& host) {
    if (host.hasNamedReports || !host.daemon) {
        return;
    }
    const std::optional<std::string> given = OptionR(host.daemon->pid);
    if (!given) {
        host.reportProblem =
            "the daemon was started without -r, so every post is answered with 500";
        return;
    }
    host.reportDirectory = given->starts_with('/')
                               ? *given
                               : "/proc/" + std::to_string(host.daemon->pid) + "/cwd/" + *given;
    host.reportDirectory += host.reportDirectory.ends_with('/') ? "" : "/";
}

}  // namespace

void InspectDaemon(Host& host) {
    try {
        host.intakePort = Sentrel::GetHttpPort(ReadDaemonSettings(), SilentLogger());
        host.portHolder = HolderOf(host.intakePort);
    } catch (const std::exception& exception) {
        host.settingsProblem = exception.what();
    }
    std::optional<ProcessStat> process = host.portHolder;
    if (!process || process->name != kDaemonName) {
        process = HolderOf(Sentrel::kApiPort);
    }
    if (process && process->name == kDaemonName && !OtherRootOf(process->pid)) {
        host.daemon = DaemonProcess{process->pid, StartOf(*process), IsStopped(*process)};
    }
    host.state = Sentrel::ReadDaemonState();
    host.user = UserOfDaemon(host);
    FindReports(host);
}

}  // namespace Ctl
