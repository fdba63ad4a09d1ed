// The open connections of a server: owns them, keeps their number and memory within bounds, and
// ends those whose client takes too long.
#pragma once

#include "platform/sys/owned_fd.h"
#include "quon/transport/call_queue.h"
#include "quon/transport/connection.h"

#include <chrono>
#include <memory>
#include <set>

namespace Quon::Transport::PicoHttp {

// The thread of the I/O context.
class ConnectionTable : public std::enable_shared_from_this<ConnectionTable> {
  public:
    using TimePoint = Connection::TimePoint;

    // The context outlives it.
    ConnectionTable(boost::asio::io_context& context,
                    std::shared_ptr<const ConnectionServices> services);
    ~ConnectionTable();

    // Serves the client at the other end of `socket`. At the bound of connections one of those that
    // wait for their client gives way (Http1::GivesWayBefore), or `socket` when none waits. Throws
    // what Connection throws.
    void Admit(Sys::OwnedFd socket);
    // Before the table is destroyed; none is admitted any more.
    void CloseAll();

    // For connections.
    //
    // `connection` was closed.
    void Remove(const std::shared_ptr<Connection>& connection);
    // A connection has set this deadline.
    void Watch(TimePoint deadline);
    // A connection may hold more of its unfinished body: closes the longest waiting ones without a
    // verified token while they hold too much together.
    void BoundBodies();
    // `connection` has a call to make: has it begin now, or when its turn comes.
    void AwaitTurn(Connection& connection, Caller caller);
    // A connection may have given up its place for a call: lets those begin that have waited.
    void BeginCalls();
    // A connection took much memory and has no use for it any more: what is free by then is given
    // back to the system, once those in work had their turn.
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
    // One timer for all: it is moved only to an earlier time, so that a deadline like those before
    // costs no system call. It comes early for deadlines that were moved back, and looks again.
    const std::unique_ptr<Timer> timer;
    TimePoint timerTime = TimePoint::max();
    CallQueue waitingCalls;
    bool beginsCalls = false;
    bool releasesMemory = false;
};

}  // namespace Quon::Transport::PicoHttp
