// The running daemon of this host: the process that listens on the intake port.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace Ctl {

// The name of the daemon's process.
inline constexpr std::string_view kDaemonName = "sentrel";

struct DaemonProcess {
    pid_t pid = 0;
    std::chrono::system_clock::time_point started;
    bool isStopped = false;  // by a signal, until SIGCONT
};

// The host root of the sentrel process `process`, if it is not this command's; "/" without one.
// Nothing if it is the same, if this user may not see it, or if the process is not a sentrel.
std::optional<std::string> OtherRootOf(pid_t process);

// The process that listens on the configured intake port, whatever program it runs; nothing if none
// does, if it is a sentrel of another host root, or if this user may not see its descriptors.
// Throws what ReadDaemonSettings throws.
std::optional<DaemonProcess> FindDaemonProcess();

// The same, or else the daemon that listens on the API's port: the intake port of the settings may
// have changed after its start.
std::optional<DaemonProcess> FindDaemonOnAnyPort();

// The port other than the API's on which that daemon listens; `configured` if this user may not see
// it.
std::int32_t FindIntakePortOf(pid_t daemon, std::int32_t configured);

// The port of the running daemon's intake, if this user may see it, else the configured one, or the
// default if the settings are broken.
std::int32_t FindIntakePort();

}  // namespace Ctl
