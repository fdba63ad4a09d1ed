#include "ctl/host/daemon_process.h"

#include "core/settings/settings.h"
#include "ctl/host/daemon_settings.h"
#include "ctl/host/listening_sockets.h"
#include "ctl/host/process_stat.h"
#include "ctl/show/failure.h"
#include "ctl/show/note.h"

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace Ctl {

std::int32_t FindIntakePort() {
    try {
        return Sentrel::GetHttpPort(ReadDaemonSettings(), SilentLogger());
    } catch (const Failure& failure) {
        const std::optional<pid_t> daemon =
            FindOwner(FindListeningSockets(Sentrel::kApiPort), kDaemonName);
        std::int32_t port = Sentrel::kDefaultHttpPort;
        for (const std::uint16_t own :
             daemon ? FindListeningPorts(*daemon) : std::vector<std::uint16_t>{}) {
            port = own == Sentrel::kApiPort ? port : own;
        }
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
    if (!process) {
        return std::nullopt;
    }
    return DaemonProcess{*pid, StartOf(*process)};
}

}  // namespace Ctl
