// What an event of the HTTP service's epoll names, by its 64-bit value.
#pragma once

#include <cstdint>

namespace Pellmar::Http {

inline constexpr std::uint64_t kStopEvent = 0;
inline constexpr std::uint64_t kTimerEvent = 1;
// One for each listening socket.
inline constexpr std::uint64_t kFirstListenerEvent = 2;
// Connections are numbered upwards from here and never reuse a number.
inline constexpr std::uint64_t kFirstConnectionEvent = 1024;

}  // namespace Pellmar::Http
