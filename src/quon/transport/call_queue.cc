#include "quon/transport/call_queue.h"

#include <utility>

namespace Quon::Transport::PicoHttp {

namespace {

Connection* TakeFront(std::deque<Connection*>& queue) {
    Connection* const front = queue.front();
    queue.pop_front();
    return front;
}

}  // namespace

void CallQueue::Add(Connection& connection, Caller caller) {
    (caller == Caller::Verified ? verified : anonymous).push_back(&connection);
}

void CallQueue::Remove(const Connection& connection) {
    std::erase(verified, &connection);
    std::erase(anonymous, &connection);
}

Connection* CallQueue::Take(TimePoint now) {
    if (!verified.empty()) {
        return TakeFront(verified);
    }
    const std::optional<TimePoint> turn = NextAnonymousTurn();
    if (!turn || *turn > now) {
        return nullptr;
    }
    latestTurns[std::exchange(oldestTurn, (oldestTurn + 1) % latestTurns.size())] = now;
    return TakeFront(anonymous);
}

std::optional<CallQueue::TimePoint> CallQueue::NextAnonymousTurn() const {
    if (anonymous.empty()) {
        return std::nullopt;
    }
    return latestTurns[oldestTurn] + std::chrono::seconds(1);
}

}  // namespace Quon::Transport::PicoHttp
