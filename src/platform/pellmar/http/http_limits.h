// The HTTP service's bounds on the resources of one client and of all together.
#pragma once

#include <chrono>
#include <cstddef>

namespace Pellmar::Http {

inline constexpr std::size_t kMaxHeadBytes = 16 * 1024;
// The number of open connections, below the usual limit of 1,024 descriptors even if each has an
// open file as well.
inline constexpr std::size_t kMaxConnections = 512;
// The number of posts at a time whose bodies did not arrive with their heads: each occupies a
// thread while its body is read.
inline constexpr std::size_t kMaxBodies = 256;
// Clients at a time that are waited for because they take no answer: each holds a thread. A further
// one is cut at once.
inline constexpr std::size_t kMaxWaitingSends = 64;
// The input buffer of a connection; larger than a head.
inline constexpr std::size_t kInputBytes = 64 * 1024;
// How much a connection with an early response may still send before it is closed.
inline constexpr std::size_t kMaxLingerBytes = 16 * 1024 * 1024;

// Timeouts; tests use shorter ones.
struct HttpTimes {
    std::chrono::milliseconds head{30'000};       // from the first byte of a head to its end
    std::chrono::milliseconds kept{60'000};       // between requests on a kept connection
    std::chrono::milliseconds bodyStall{30'000};  // between bytes while a body is read
    std::chrono::milliseconds body{120'000};      // from the first read of a body to its end
    std::chrono::milliseconds bodyGrace{100};     // for a body whose place other posts wait for
    std::chrono::milliseconds send{30'000};       // for a client to receive a response
    std::chrono::milliseconds linger{5'000};      // for a client to see an early response
    std::chrono::milliseconds acceptPause{100};   // after running out of descriptors
    std::chrono::milliseconds stop{1'000};        // for running requests when the service stops
};

}  // namespace Pellmar::Http
