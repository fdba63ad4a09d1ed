// The connections whose call waits for its turn, and the pace of the calls without a valid token,
// each of which leaves a record in the audit log. Whether there is a place for a call at all is
// connection_table.h's.
#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <optional>
#include <vector>

namespace Quon::Transport::PicoHttp {

class Connection;

enum class Caller { Anonymous, Verified };

// First come, first served; those with a valid token before the anonymous. One thread.
class CallQueue {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;

    // In no second do more than `anonymousPerSecond` anonymous calls get their turn.
    explicit CallQueue(std::size_t anonymousPerSecond) : latestTurns(anonymousPerSecond) {}

    void Add(Connection& connection, Caller caller);
    void Remove(const Connection& connection);
    bool IsEmpty() const { return verified.empty() && anonymous.empty(); }

    // Takes the one whose turn it is; null when nobody waits or the pace allows none.
    Connection* Take(TimePoint now);
    // When the pace allows the next anonymous call that waits; nothing when none waits.
    std::optional<TimePoint> NextAnonymousTurn() const;

  private:
    std::deque<Connection*> verified;
    std::deque<Connection*> anonymous;
    std::vector<TimePoint> latestTurns;  // of the anonymous, a ring
    std::size_t oldestTurn = 0;
};

}  // namespace Quon::Transport::PicoHttp
