// The bounds of the API port: what one client, and all of them together, can hold. The times of the
// single operations and the size of a request come with the configuration.
#pragma once

#include <chrono>
#include <cstddef>

namespace Quon::Transport::PicoHttp {

// A head with its closing empty line, and what a connection reads ahead.
inline constexpr std::size_t kMaxHeadBytes = 16 * 1024;
// What is produced of an answer before it is sent; a client that does not read holds one of these.
inline constexpr std::size_t kPieceBytes = 64 * 1024;
// What a connection that was answered early may still send before it is cut.
inline constexpr std::size_t kMaxLingerBytes = 16 * 1024 * 1024;
// Of an unfinished body, what counts against nobody: most requests stay below it.
inline constexpr std::size_t kFreeBodyBytes = 16 * 1024;
// A request that took more, for its body or its answer, has the free memory of the process given
// back to the system after it.
inline constexpr std::size_t kMuchMemoryBytes = 1024 * 1024;
// Connections that the kernel keeps ready for a listener.
inline constexpr int kListenBacklog = 128;

// As they are outside tests.
struct ServerLimits {
    // Open connections. For each further one, an idle one is closed.
    std::size_t maxConnections = 256;
    // Unfinished bodies of all connections that never showed a good token. Beyond it, the one that
    // has been sending longest is closed.
    std::size_t maxUnverifiedBodyBytes = 40'000'000;
    // Calls in progress and answers of more than one piece that are not out yet, each of which
    // holds its result in memory. A further call waits. While one does, those answers are closed
    // whose client takes no piece for the grace, or not the whole within the time.
    std::size_t maxCalls = 4;
    std::chrono::nanoseconds answerGrace = std::chrono::seconds(5);
    std::chrono::nanoseconds answerTime = std::chrono::seconds(60);
    // Calls without a valid token, of all connections together; a further one waits.
    std::size_t anonymousCallsPerSecond = 100;
    // For a client to see its answer before the connection is closed.
    std::chrono::nanoseconds linger = std::chrono::seconds(5);
    // Before a listener that failed to bind tries again.
    std::chrono::nanoseconds bindDelay = std::chrono::seconds(5);
    // After the descriptors have run out.
    std::chrono::nanoseconds acceptDelay = std::chrono::milliseconds(500);
};

}  // namespace Quon::Transport::PicoHttp
