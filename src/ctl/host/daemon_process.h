// The daemon that runs on this host now: the process that listens on the intake port.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>

#include <sys/types.h>

namespace Ctl {

// What the daemon's process calls itself.
inline constexpr std::string_view kDaemonName = "sentrel";

struct DaemonProcess {
    pid_t pid = 0;
    std::chrono::system_clock::time_point started;
};

// The process that listens on the intake port of this host's settings, whatever program it runs;
// nothing when none does, or when it belongs to a user whose descriptors this one may not see.
// Throws what ReadDaemonSettings throws.
std::optional<DaemonProcess> FindDaemonProcess();

// The intake port: of the settings, or, where these are broken, that on which the running daemon
// listens besides the API's, as far as this user may see it, else the default.
std::int32_t FindIntakePort();

}  // namespace Ctl
