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

bool HoldsAnswer(const Connection& connection) { return connection.HoldsAnswer(); }

}  // namespace

struct ConnectionTable::Timer {
    explicit Timer(boost::asio::io_context& context) : timer(context) {}

    boost::asio::steady_timer timer;
};

ConnectionTable::ConnectionTable(boost::asio::io_context& context,
                                 std::shared_ptr<const ConnectionServices> services)
    : context(context), services(std::move(services)), timer(std::make_unique<Timer>(context)) {}

ConnectionTable::~ConnectionTable() = default;

void ConnectionTable::Admit(Sys::OwnedFd socket) {
    if (connections.size() >= services->configuration.limits.maxConnections) {
        std::shared_ptr<Connection> idle = FindLongestWaiting(
            [](const Connection& connection) { return !connection.IsVerified(); });
        if (!idle) {
            idle = FindLongestWaiting([](const Connection&) { return true; });
        }
        services->logger->Log(kPerRequest,
                              idle ? "Too many connections: the one that waits longest is closed"
                                   : "Too many connections: a new one is closed");
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
    while (!connections.empty()) {
        (*connections.begin())->Close();
    }
    timer->timer.cancel();
}

void ConnectionTable::Remove(const std::shared_ptr<Connection>& connection) {
    connections.erase(connection);
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
}

void ConnectionTable::BoundBodies() {
    std::size_t held = 0;
    for (const std::shared_ptr<Connection>& connection : connections) {
        held += HoldsMuch(*connection) ? connection->HeldBodyBytes() : 0;
    }
    while (held > services->configuration.limits.maxUnverifiedBodyBytes) {
        const std::shared_ptr<Connection> longest = FindLongestWaiting(HoldsMuch);
        services->logger->Log(kPerRequest,
                              "RequestReadCb: too many unfinished bodies Error: the one that takes "
                              "longest is closed");
        held -= longest->HeldBodyBytes();
        longest->Close();
    }
}

void ConnectionTable::BoundAnswers() {
    const ServerLimits& limits = services->configuration.limits;
    auto held = static_cast<std::size_t>(
        std::count_if(connections.begin(), connections.end(),
                      [](const auto& connection) { return HoldsAnswer(*connection); }));
    const TimePoint stalled = std::chrono::steady_clock::now() - limits.answerGrace;
    for (; held > limits.maxUnfinishedAnswers; --held) {
        const std::shared_ptr<Connection> longest = FindLongestWaiting(HoldsAnswer);
        if (!longest || *longest->WaitingSince() > stalled) {
            return;
        }
        services->logger->Log(kPerRequest,
                              "Failed to sent response body too many unfinished answers, the one "
                              "that waits longest is closed");
        longest->Close();
    }
}

// The allocator keeps free memory below what is in use, which can be much after large bodies.
void ConnectionTable::ReleaseMemory() {
    if (std::exchange(releasesMemory, true)) {
        return;
    }
    boost::asio::post(context, [weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->releasesMemory = false;
            (void)::malloc_trim(0);  // whether there was anything does not matter
        }
    });
}

// Null when none that waits meets the condition.
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
