// The API server's bounds on the resources of one client and of all together. The configuration has
// the timeouts of single operations and the maximum size of a request.
#pragma once

#include <chrono>
#include <cstddef>

namespace Quon::Transport::PicoHttp {

// The maximum size of a head including its closing empty line, and of the input buffer.
inline constexpr std::size_t kMaxHeadBytes = 16 * 1024;
// The size of a response's pieces; a client that does not read keeps one of them in memory.
inline constexpr std::size_t kPieceBytes = 64 * 1024;
// How much a connection with an early response may still send before it is closed.
inline constexpr std::size_t kMaxLingerBytes = 16 * 1024 * 1024;
// The part of an incomplete body that counts towards no bound: most requests are smaller.
inline constexpr std::size_t kFreeBodyBytes = 16 * 1024;
// After a request that used more memory, for its body or response, the process returns its free
// memory to the system.
inline constexpr std::size_t kMuchMemoryBytes = 1024 * 1024;
// The backlog of pending connections of a listener.
inline constexpr int kListenBacklog = 128;

// Tests use other values.
struct ServerLimits {
    // Open connections. For each further one an idle one is closed.
    std::size_t maxConnections = 256;
    // The total size of incomplete bodies on connections without a verified token. Beyond it, the
    // one that has waited longest is closed.
    std::size_t maxUnverifiedBodyBytes = 40'000'000;
    // Calls in progress and unfinished responses of several pieces, each of which keeps its result
    // in memory. Further calls wait; meanwhile a response is closed if its client receives no piece
    // for `answerGrace`, or not all of it within `answerTime`.
    std::size_t maxCalls = 4;
    std::chrono::nanoseconds answerGrace = std::chrono::seconds(5);
    std::chrono::nanoseconds answerTime = std::chrono::seconds(60);
    // Calls without a valid token on all connections together; further ones wait.
    std::size_t anonymousCallsPerSecond = 100;
    // For a client to see its response before the connection is closed.
    std::chrono::nanoseconds linger = std::chrono::seconds(5);
    // Between attempts of a listener to bind.
    std::chrono::nanoseconds bindDelay = std::chrono::seconds(5);
    // After running out of descriptors.
    std::chrono::nanoseconds acceptDelay = std::chrono::milliseconds(500);
};

}  // namespace Quon::Transport::PicoHttp
