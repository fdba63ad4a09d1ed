// Owns the open connections of a server, bounds their number and memory, and closes those whose
// clients take too long.
#pragma once

#include "platform/sys/owned_fd.h"
#include "quon/transport/call_queue.h"
#include "quon/transport/connection.h"

#include <chrono>
#include <memory>
#include <set>

namespace Quon::Transport::PicoHttp {

// For the thread of the I/O context.
class ConnectionTable : public std::enable_shared_from_this<ConnectionTable> {
  public:
    using TimePoint = Connection::TimePoint;

    // The context outlives the table.
    ConnectionTable(boost::asio::io_context& context,
                    std::shared_ptr<const ConnectionServices> services);
    ~ConnectionTable();

    // Serves the client of `socket`. At the bound, closes a connection that waits for its client
    // (see Http1::GivesWayBefore), or `socket` if none waits. Throws what Connection's constructor
    // throws.
    void Admit(Sys::OwnedFd socket);
    // Call it before destroying the table, with no Admit afterwards.
    void CloseAll();

    // The following operations are for connections.
    //
    // Removes `connection`, which was closed.
    void Remove(const std::shared_ptr<Connection>& connection);
    // Sets the timer for a deadline that a connection has set.
    void Watch(TimePoint deadline);
    // Call it after receiving more of an incomplete body: while those bodies exceed their bound,
    // closes the connection without a verified token that has waited longest.
    void BoundBodies();
    // Starts the call of `connection` now or when its turn comes.
    void AwaitTurn(Connection& connection, Caller caller);
    // Starts waiting calls for which places have become free.
    void BeginCalls();
    // Call it when a connection no longer needs much memory: returns free memory to the system
    // after pending operations had their turn.
    void ReleaseMemory();

  private:
    struct Timer;

    using Condition = bool (*)(const Connection& connection);

    std::shared_ptr<Connection> FindLongestWaiting(Condition condition) const;
    std::shared_ptr<Connection> FindWhoGivesWay() const;
    bool HasPlaceForCall() const;
    void CloseStalledAnswer();
    void OnTimer();

    boost::asio::io_context& context;
    const std::shared_ptr<const ConnectionServices> services;
    std::set<std::shared_ptr<Connection>> connections;
    // One timer for all. It is only set to earlier times, so a deadline similar to earlier ones
    // costs no system call. It fires too early for deadlines that were extended, and is then set
    // again.
    const std::unique_ptr<Timer> timer;
    TimePoint timerTime = TimePoint::max();
    CallQueue waitingCalls;
    bool beginsCalls = false;
    bool releasesMemory = false;
};

}  // namespace Quon::Transport::PicoHttp
