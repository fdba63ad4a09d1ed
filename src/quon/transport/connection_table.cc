#include "quon/transport/connection_table.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>

#include <algorithm>
#include <system_error>
#include <utility>
#include <vector>

#include <malloc.h>

namespace Quon::Transport::PicoHttp {

namespace {

bool HoldsMuch(const Connection& connection) {
    return !connection.IsVerified() && connection.HeldBodyBytes() > kFreeBodyBytes;
}

}  // namespace

struct ConnectionTable::Timer {
    explicit Timer(boost::asio::io_context& context) : timer(context) {}

    boost::asio::steady_timer timer;
};

ConnectionTable::ConnectionTable(boost::asio::io_context& context,
                                 std::shared_ptr<const ConnectionServices> services)
    : context(context),
      services(std::move(services)),
      timer(std::make_unique<Timer>(context)),
      waitingCalls(this->services->configuration.limits.anonymousCallsPerSecond) {}

ConnectionTable::~ConnectionTable() = default;

void ConnectionTable::Admit(Sys::OwnedFd socket) {
    if (connections.size() >= services->configuration.limits.maxConnections) {
        const std::shared_ptr<Connection> idle = FindWhoGivesWay();
        services->logger->Log(kPerRequest, idle ? "Too many connections: closing an idle one"
                                                : "Too many connections: closing the new one");
        if (!idle) {
            return;
        }
        idle->Close();
    }
    const auto connection =
        std::make_shared<Connection>(context, std::move(socket), services, *this);
    connections.insert(connection);
    connection->Start();
}

void ConnectionTable::CloseAll() {
    beginsCalls = true;  // prevents further calls from starting
    while (!connections.empty()) {
        (*connections.begin())->Close();
    }
    timer->timer.cancel();
}

void ConnectionTable::Remove(const std::shared_ptr<Connection>& connection) {
    connections.erase(connection);
    waitingCalls.Remove(*connection);
    BeginCalls();
}

void ConnectionTable::Watch(TimePoint deadline) {
    if (deadline >= timerTime) {
        return;
    }
    timerTime = deadline;
    timer->timer.expires_at(deadline);
    timer->timer.async_wait([weak = weak_from_this()](const boost::system::error_code& error) {
        const auto self = weak.lock();
        if (self && !error) {
            self->OnTimer();
        }
    });
}

void ConnectionTable::OnTimer() {
    const TimePoint now = std::chrono::steady_clock::now();
    TimePoint next = TimePoint::max();
    std::vector<std::shared_ptr<Connection>> late;
    for (const std::shared_ptr<Connection>& connection : connections) {
        const TimePoint deadline = connection->Deadline().value_or(TimePoint::max());
        if (deadline <= now) {
            late.push_back(connection);
        } else {
            next = std::min(next, deadline);
        }
    }
    for (const std::shared_ptr<Connection>& connection : late) {
        connection->TimeOut();
    }
    timerTime = TimePoint::max();
    Watch(next);
    CloseStalledAnswer();
    BeginCalls();
}

void ConnectionTable::BoundBodies() {
    std::size_t held = 0;
    for (const std::shared_ptr<Connection>& connection : connections) {
        held += HoldsMuch(*connection) ? connection->HeldBodyBytes() : 0;
    }
    while (held > services->configuration.limits.maxUnverifiedBodyBytes) {
        const std::shared_ptr<Connection> longest = FindLongestWaiting(HoldsMuch);
        services->logger->Log(kPerRequest,
                              "RequestReadCb: too many unfinished bodies Error: closing the one "
                              "that has waited longest");
        held -= longest->HeldBodyBytes();
        longest->Close();
    }
}

void ConnectionTable::AwaitTurn(Connection& connection, Caller caller) {
    waitingCalls.Add(connection, caller);
    BeginCalls();
}

void ConnectionTable::BeginCalls() {
    if (waitingCalls.IsEmpty() || beginsCalls) {
        return;  // a call that starts may end within the loop below, which then continues
    }
    beginsCalls = true;
    const TimePoint now = std::chrono::steady_clock::now();
    while (HasPlaceForCall()) {
        Connection* const connection = waitingCalls.Take(now);
        if (connection == nullptr) {
            break;
        }
        connection->BeginCall();
    }
    beginsCalls = false;
    if (waitingCalls.IsEmpty()) {
        return;
    }
    if (HasPlaceForCall()) {
        Watch(*waitingCalls.NextAnonymousTurn());
    } else {
        Watch(now + services->configuration.limits.answerGrace);
    }
}

bool ConnectionTable::HasPlaceForCall() const {
    const auto inUse =
        std::count_if(connections.begin(), connections.end(),
                      [](const auto& connection) { return connection->HoldsPlace(); });
    return static_cast<std::size_t>(inUse) < services->configuration.limits.maxCalls;
}

// Called only from the timer: by then it is known what clients have received, however long a call
// took.
void ConnectionTable::CloseStalledAnswer() {
    if (waitingCalls.IsEmpty() || HasPlaceForCall()) {
        return;
    }
    const std::shared_ptr<Connection> slowest = FindLongestWaiting(
        [](const Connection& connection) { return connection.HoldsStalledAnswer(); });
    if (slowest) {
        services->logger->Log(kPerRequest,
                              "Failed to sent response body other calls are waiting, closing the "
                              "connection of the slowest client");
        slowest->Close();
    }
}

// The allocator keeps free memory below allocated memory, which can be much after large bodies.
void ConnectionTable::ReleaseMemory() {
    if (std::exchange(releasesMemory, true)) {
        return;
    }
    boost::asio::post(context, [weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->releasesMemory = false;
            (void)::malloc_trim(0);  // the result does not matter
        }
    });
}

// The connection to close at the bound; null if none waits.
std::shared_ptr<Connection> ConnectionTable::FindWhoGivesWay() const {
    const TimePoint now = std::chrono::steady_clock::now();
    std::shared_ptr<Connection> first;
    for (const std::shared_ptr<Connection>& connection : connections) {
        if (connection->WaitingSince() &&
            (!first || Http1::GivesWayBefore(connection->Idle(), first->Idle(), now))) {
            first = connection;
        }
    }
    return first;
}

// The one that meets the condition and has waited longest; null if there is none.
std::shared_ptr<Connection> ConnectionTable::FindLongestWaiting(Condition condition) const {
    std::shared_ptr<Connection> longest;
    for (const std::shared_ptr<Connection>& connection : connections) {
        if (connection->WaitingSince() && condition(*connection) &&
            (!longest || *connection->WaitingSince() < *longest->WaitingSince())) {
            longest = connection;
        }
    }
    return longest;
}

}  // namespace Quon::Transport::PicoHttp
