// The bounds of the HTTP service: what one client, and all of them together, can hold.
#pragma once

#include <chrono>
#include <cstddef>

namespace Pellmar::Http {

inline constexpr std::size_t kMaxHeadBytes = 16 * 1024;
// Open connections. Below the usual limit of 1,024 descriptors even when each has a file open
// beside.
inline constexpr std::size_t kMaxConnections = 512;
// Posts at a time whose bodies were not here when their heads were: each holds a thread while its
// body is read.
inline constexpr std::size_t kMaxBodies = 256;
// What one connection reads ahead; larger than a head.
inline constexpr std::size_t kInputBytes = 64 * 1024;
// What a connection that was answered early may still send before it is cut.
inline constexpr std::size_t kMaxLingerBytes = 16 * 1024 * 1024;

// Times, as they are outside tests.
struct HttpTimes {
    std::chrono::milliseconds head{30'000};       // from the first byte of a head to its end
    std::chrono::milliseconds kept{60'000};       // without a request on a kept connection
    std::chrono::milliseconds bodyStall{30'000};  // without a byte of a body that is read
    std::chrono::milliseconds body{120'000};      // from the first read of a body to its end
    std::chrono::milliseconds bodyGrace{100};     // for a body while other posts wait for its place
    std::chrono::milliseconds send{30'000};       // for a client to take an answer
    std::chrono::milliseconds linger{5'000};      // for a client to see an answer that came early
    std::chrono::milliseconds acceptPause{100};   // after the descriptors have run out
    std::chrono::milliseconds stop{1'000};        // for requests in work when the service stops
};

}  // namespace Pellmar::Http
