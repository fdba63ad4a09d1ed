// Queues the connections whose calls wait for their turn, and limits the rate of calls without a
// valid token, each of which adds a record to the audit log. connection_table.h decides whether a
// call may start at all.
#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <optional>
#include <vector>

namespace Quon::Transport::PicoHttp {

class Connection;

enum class Caller { Anonymous, Verified };

// First come, first served; callers with a valid token before anonymous ones. One thread.
class CallQueue {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;

    // In any second at most `anonymousPerSecond` anonymous calls get their turn.
    explicit CallQueue(std::size_t anonymousPerSecond) : latestTurns(anonymousPerSecond) {}

    void Add(Connection& connection, Caller caller);
    void Remove(const Connection& connection);
    bool IsEmpty() const { return verified.empty() && anonymous.empty(); }

    // Takes the next connection; null if none waits or the rate limit forbids it.
    Connection* Take(TimePoint now);
    // When the rate limit permits the next waiting anonymous call; nothing if none waits.
    std::optional<TimePoint> NextAnonymousTurn() const;

  private:
    std::deque<Connection*> verified;
    std::deque<Connection*> anonymous;
    std::vector<TimePoint> latestTurns;  // of anonymous calls, a ring buffer
    std::size_t oldestTurn = 0;
};

}  // namespace Quon::Transport::PicoHttp
