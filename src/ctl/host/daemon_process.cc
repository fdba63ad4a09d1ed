#include "ctl/host/daemon_process.h"

#include "core/settings/settings.h"
#include "ctl/host/daemon_settings.h"
#include "ctl/host/listening_sockets.h"
#include "ctl/host/process_stat.h"
#include "ctl/show/failure.h"
#include "ctl/show/note.h"
#include "platform/sys/host_root.h"
#include "platform/sys/proc_file.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

namespace Ctl {

namespace {

// The process with the daemon's name that listens on the port of the API.
std::optional<DaemonProcess> FindDaemonOnApi() {
    const std::optional<pid_t> pid =
        FindOwner(FindListeningSockets(Sentrel::kApiPort), kDaemonName);
    const std::optional<ProcessStat> process = pid ? ReadProcessStat(*pid) : std::nullopt;
    if (!process || process->name != kDaemonName || OtherRootOf(*pid)) {
        return std::nullopt;
    }
    return DaemonProcess{*pid, StartOf(*process)};
}

constexpr std::string_view kRootVariable = "SENTREL_ROOT=";
constexpr std::size_t kMaxEnvironment = std::size_t{4} << 20;  // more than execve(2) takes

std::string WithoutSlashes(std::string path) {
    path.erase(path.find_last_not_of('/') + 1);
    return path;
}

bool IsSameDirectory(const std::string& left, const std::string& right) {
    std::error_code error;  // one of them is missing
    return left == right || std::filesystem::equivalent(left + "/", right + "/", error);
}

}  // namespace

std::optional<std::string> OtherRootOf(pid_t process) {
    const std::optional<ProcessStat> stat = ReadProcessStat(process);
    const std::string environment =
        Sys::ReadProcFile("/proc/" + std::to_string(process) + "/environ", kMaxEnvironment);
    if (!stat || stat->name != kDaemonName || environment.empty()) {
        return std::nullopt;
    }
    std::string root;
    std::istringstream variables(environment);
    for (std::string variable; std::getline(variables, variable, '\0');) {
        if (variable.starts_with(kRootVariable)) {
            root = WithoutSlashes(variable.substr(kRootVariable.size()));
        }
    }
    if (IsSameDirectory(root, Sys::HostPath(""))) {
        return std::nullopt;
    }
    return root.empty() ? "/" : root;
}

std::int32_t FindIntakePortOf(pid_t daemon, std::int32_t configured) {
    for (const std::uint16_t port : FindListeningPorts(daemon)) {
        if (port != Sentrel::kApiPort) {
            return port;
        }
    }
    return configured;
}

std::int32_t FindIntakePort() {
    const std::optional<DaemonProcess> daemon = FindDaemonOnApi();
    const auto running = [&daemon](std::int32_t configured) {
        return daemon ? FindIntakePortOf(daemon->pid, configured) : configured;
    };
    try {
        return running(Sentrel::GetHttpPort(ReadDaemonSettings(), SilentLogger()));
    } catch (const Failure& failure) {
        const std::int32_t port = running(Sentrel::kDefaultHttpPort);
        NoteOnce("warning: " + std::string(failure.what()) + "; posting to port " +
                 std::to_string(port));
        return port;
    }
}

std::optional<DaemonProcess> FindDaemonProcess() {
    const std::int32_t port = Sentrel::GetHttpPort(ReadDaemonSettingsOrDefaults(), SilentLogger());
    if (port <= 0 || port > std::numeric_limits<std::uint16_t>::max()) {
        return std::nullopt;  // no process can listen there
    }
    std::vector<ListeningSocket> sockets = FindListeningSockets(static_cast<std::uint16_t>(port));
    std::erase_if(sockets, [](const ListeningSocket& socket) {
        return socket.reach == ListeningSocket::Reach::OneAddress;
    });
    const std::optional<pid_t> pid = FindOwner(sockets, kDaemonName);
    const std::optional<ProcessStat> process = pid ? ReadProcessStat(*pid) : std::nullopt;
    if (!process || OtherRootOf(*pid)) {
        return std::nullopt;
    }
    return DaemonProcess{*pid, StartOf(*process)};
}

std::optional<DaemonProcess> FindDaemonOnAnyPort() {
    const std::optional<DaemonProcess> daemon = FindDaemonProcess();
    return daemon ? daemon : FindDaemonOnApi();
}

}  // namespace Ctl
