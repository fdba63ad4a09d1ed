// The HTTP service at work: the table of connections, the runners that wait for them, the times.
//
// Runners are tasks of the pool. One of them, the leader, waits in epoll_wait; a connection's
// registration is one-shot, so one that became ready belongs to the runner that claimed it until it
// is given back. A leader that got one event serves it itself and then leads again: nobody is woken
// for it. When several events were ready, another runner is started to share them, up to one a
// processor. A runner reads the head, calls the handler, and runs the work queue that the handler
// woke, all on its own thread. One that must wait for a client's bytes steps aside, and another one
// is started when none is left to lead: stalled clients cost a thread each and delay nobody.
#pragma once

#include "platform/pellmar/http/http_connection.h"
#include "platform/pellmar/http/http_limits.h"
#include "platform/pellmar/http/http_message.h"
#include "platform/pellmar/http/http_service.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/system/server_socket.h"
#include "platform/sys/mutex.h"
#include "platform/sys/owned_fd.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <unordered_map>
#include <vector>

namespace Pellmar::Http {

class ServiceImpl final : public HttpService {
  public:
    ServiceImpl(const Ref<System::ServerSocket>& socket, const Ref<Service::Logger>& logger,
                const HeaderDefinitions& headers, const HttpTimes& times);
    ~ServiceImpl() override;

    void SetHandler(const Ref<RequestHandler>& newHandler) override { handler = newHandler; }
    void Start() override;
    void Stop() override EXCLUDES(lock);

    const Ref<Service::Logger>& GetLogger() const { return logger; }
    const std::string& GetHeaderBlock() const { return headerBlock; }
    const HttpTimes& GetTimes() const { return times; }
    bool IsStopping() const { return stopping.load(std::memory_order_relaxed); }

    // Ways to give a connection back; by the thread that owns it.
    void AwaitNextRequest(const Ref<Connection>& connection) EXCLUDES(lock);
    // Ends the sending side and drops what the client still sends, for a while: closing at once
    // would reset the connection and could destroy the answer on its way (RFC 9112 section 9.6).
    void Linger(const Ref<Connection>& connection) EXCLUDES(lock);
    void Close(const Ref<Connection>& connection) EXCLUDES(lock);

    // While one lives on a runner's thread, that runner waits for a client and does not count.
    class Aside {
      public:
        explicit Aside(ServiceImpl& service);
        ~Aside();
        Aside(const Aside&) = delete;
        Aside& operator=(const Aside&) = delete;

      private:
        ServiceImpl& service;
    };

  private:
    using TimePoint = Connection::TimePoint;

    struct Slot {
        Ref<Connection> connection;
        // Its next event is waited for, and no thread owns it.
        bool waits = false;
        // Known to epoll.
        bool isWatched = false;
        TimePoint deadline;
        // Its request is one of the kMaxBodies, since `bodySince`.
        bool holdsPlace = false;
        TimePoint bodySince;
    };

    void Serve() EXCLUDES(lock);
    bool NextEvent(std::uint64_t& event) EXCLUDES(lock);
    void HandleEvent(std::uint64_t event);
    void StartRunner();

    void Accept(std::size_t listener) EXCLUDES(lock);
    bool MakeRoom() EXCLUDES(lock);
    void HandleAcceptError(int error) EXCLUDES(lock);
    void Admit(Sys::OwnedFd socket) EXCLUDES(lock);
    void PauseAccepting(std::chrono::milliseconds duration) EXCLUDES(lock);
    void ResumeAccepting() const;
    void WatchListeners(std::uint32_t events) const;
    bool CloseOneThatWaits() EXCLUDES(lock);
    void CloseOverdue() EXCLUDES(lock);

    Ref<Connection> Claim(std::uint64_t id) EXCLUDES(lock);
    void ReadHead(const Ref<Connection>& connection);
    void Dispatch(const Ref<Connection>& connection, std::size_t headLength);
    void Handle(const Ref<Connection>& connection, const Http1::RequestHead& head,
                const Http1::ContentLength& length, std::size_t headLength);
    void CallHandler(std::string_view method, const Ref<Request>& request,
                     const Ref<Response>& response);
    void Refuse(const Ref<Connection>& connection, const ResponseCode& code);
    // A client that takes no answer goes without.
    void SendRefusal(Connection& connection, const ResponseCode& code) const;
    void DropInput(const Ref<Connection>& connection);
    // Registers the connection for its next event. `events` of epoll.
    void Await(const Ref<Connection>& connection, std::uint32_t events, TimePoint deadline)
        EXCLUDES(lock);
    void ArmTimer(TimePoint due) REQUIRES(lock);

    bool TakePlace(const Ref<Connection>& connection, std::uint64_t length, std::uint64_t arrived)
        EXCLUDES(lock);
    void AwaitPlace(const Ref<Connection>& connection, std::size_t headLength,
                    std::uint64_t requestLength) EXCLUDES(lock);
    // The connection of `slot` waits from now on, perhaps for a place; its last body is over.
    void SeeToPlaces(Slot& slot) REQUIRES(lock);
    void FreePlace(Slot& slot) REQUIRES(lock);
    void GivePlace(Slot& slot) REQUIRES(lock);
    void LetTheSlowestGiveWay() REQUIRES(lock);
    using SlotIterator = std::unordered_map<std::uint64_t, Slot>::iterator;
    SlotIterator Erase(SlotIterator slot) REQUIRES(lock);
    // False when the kernel refuses; errno says why.
    bool Register(int operation, int descriptor, std::uint32_t events, std::uint64_t event) const;

    const Ref<System::ServerSocket> socket;
    const Ref<Service::Logger> logger;
    const std::string headerBlock;
    const HttpTimes times;
    const std::size_t maxRunners;
    const std::vector<int> listeners;  // borrowed from `socket`
    const Sys::OwnedFd epoll;
    const Sys::OwnedFd timer;
    const Sys::OwnedFd stopEvent;
    Ref<RequestHandler> handler;  // immutable after Start
    std::atomic<bool> stopping{false};

    Sys::Mutex lock;
    Sys::Condition idle;  // a runner has ended, or a connection while the service stops
    std::unordered_map<std::uint64_t, Slot> slots GUARDED_BY(lock);
    std::uint64_t nextId GUARDED_BY(lock);
    TimePoint timerDue GUARDED_BY(lock) = TimePoint::max();
    TimePoint acceptResume GUARDED_BY(lock) = TimePoint::max();
    bool acceptIsPaused GUARDED_BY(lock) = false;
    TimePoint lastAcceptError GUARDED_BY(lock){-std::chrono::hours(1)};
    bool boundWasLogged GUARDED_BY(lock) = false;
    std::size_t bodies GUARDED_BY(lock) = 0;  // slots that hold a place
    bool bodyBoundWasLogged GUARDED_BY(lock) = false;
    std::deque<std::uint64_t> readyEvents GUARDED_BY(lock);  // taken by a leader, not served yet
    bool leaderWaits GUARDED_BY(lock) = false;               // some runner is in epoll_wait
    std::size_t runners GUARDED_BY(lock) = 0;                // that do not wait aside
    std::size_t runnersAside GUARDED_BY(lock) = 0;           // that wait for a client
    bool started GUARDED_BY(lock) = false;
};

// CreateHttpSvc with times of the caller's choice.
Ref<HttpService> CreateHttpSvc(const Ref<System::ServerSocket>& socket,
                               const Ref<Service::Logger>& logger, const HeaderDefinitions& headers,
                               const HttpTimes& times);

}  // namespace Pellmar::Http
