// The 64-bit values that identify the events of the HTTP service's epoll.
#pragma once

#include <cstdint>

namespace Pellmar::Http {

inline constexpr std::uint64_t kStopEvent = 0;
inline constexpr std::uint64_t kTimerEvent = 1;
// The first one of the listening sockets.
inline constexpr std::uint64_t kFirstListenerEvent = 2;
// Connections are numbered from here on; numbers are never reused.
inline constexpr std::uint64_t kFirstConnectionEvent = 1024;

}  // namespace Pellmar::Http
