#include "ctl/host/daemon_process.h"

#include "core/settings/settings.h"
#include "ctl/host/daemon_settings.h"
#include "ctl/host/listening_sockets.h"
#include "ctl/host/process_stat.h"

#include <cstdint>
#include <limits>
#include <vector>

namespace Ctl {

std::optional<DaemonProcess> FindDaemonProcess() {
    const std::int32_t port = Sentrel::GetHttpPort(ReadDaemonSettings(), SilentLogger());
    if (port <= 0 || port > std::numeric_limits<std::uint16_t>::max()) {
        return std::nullopt;  // nobody can listen there
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
