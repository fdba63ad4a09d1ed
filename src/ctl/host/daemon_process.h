// The running daemon of this host: the process that listens on the intake port.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>

#include <sys/types.h>

namespace Ctl {

// The name of the daemon's process.
inline constexpr std::string_view kDaemonName = "sentrel";

struct DaemonProcess {
    pid_t pid = 0;
    std::chrono::system_clock::time_point started;
};

// The process that listens on the configured intake port, whatever program it runs; nothing if none
// does, or if this user may not see its descriptors. Throws what ReadDaemonSettings throws.
std::optional<DaemonProcess> FindDaemonProcess();

// The configured intake port. If the settings are broken: the port other than the API's on which
// the running daemon listens, if this user may see it, else the default.
std::int32_t FindIntakePort();

}  // namespace Ctl
