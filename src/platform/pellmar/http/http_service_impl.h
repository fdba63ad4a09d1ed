// Implements the HTTP service: its connections, its runners and its timeouts.
//
// Runners are tasks of the pool. One of them, the leader, waits in epoll_wait. The registration of
// a connection is one-shot, so a ready connection belongs to the runner that claims it until that
// runner gives it back. A leader that gets one event serves it itself and then leads again, so no
// thread needs to be woken. If it gets many events, it starts another runner to share them:
// at most one for each processor, within 2 and 8. A runner reads the head, calls the handler, and
// runs the work queue that the handler woke, all on its own thread. A runner that must wait for a
// client's bytes steps aside, and another one is started if none is left to lead: a stalled client
// costs a thread but delays nobody.
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

    // Return a connection to the service. For the thread that owns the connection.
    void AwaitNextRequest(const Ref<Connection>& connection) EXCLUDES(lock);
    // Shuts down the sending side and discards the client's further input for a while: closing at
    // once would reset the connection and could destroy the response in transit (RFC 9112 section
    // 9.6).
    void Linger(const Ref<Connection>& connection) EXCLUDES(lock);
    void Close(const Ref<Connection>& connection) EXCLUDES(lock);

    // Begins or ends the wait of one more client to take an answer; false: it is one too many.
    bool BeginWaitingSend() { return waitingSends.fetch_add(1) < kMaxWaitingSends; }
    void EndWaitingSend() { waitingSends.fetch_sub(1); }

    // While it exists on a runner's thread, that runner waits for a client and does not count.
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
        // No thread owns the connection; it waits for its next event.
        bool waits = false;
        // Registered with epoll.
        bool isWatched = false;
        TimePoint deadline;
        // The request occupies one of the kMaxBodies places since `bodySince`.
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
    // Tries once: a client that does not receive the response goes without.
    void SendRefusal(Connection& connection, const ResponseCode& code) const;
    void DropInput(const Ref<Connection>& connection);
    // Registers the connection for its next `events` of epoll.
    void Await(const Ref<Connection>& connection, std::uint32_t events, TimePoint deadline)
        EXCLUDES(lock);
    void ArmTimer(TimePoint due) REQUIRES(lock);

    bool TakePlace(const Ref<Connection>& connection, std::uint64_t length, std::uint64_t arrived)
        EXCLUDES(lock);
    void AwaitPlace(const Ref<Connection>& connection, std::size_t headLength,
                    std::uint64_t requestLength) EXCLUDES(lock);
    // Call it when `slot` starts to wait: frees the place of its last body or, if its request waits
    // for a place, gives it one if available.
    void SeeToPlaces(Slot& slot) REQUIRES(lock);
    void FreePlace(Slot& slot) REQUIRES(lock);
    void GivePlace(Slot& slot) REQUIRES(lock);
    void LetTheSlowestGiveWay() REQUIRES(lock);
    using SlotIterator = std::unordered_map<std::uint64_t, Slot>::iterator;
    SlotIterator Erase(SlotIterator slot) REQUIRES(lock);
    // Returns false and sets errno if the kernel refuses.
    bool Register(int operation, int descriptor, std::uint32_t events, std::uint64_t event) const;

    const Ref<System::ServerSocket> socket;
    const Ref<Service::Logger> logger;
    const std::string headerBlock;
    const HttpTimes times;
    const std::size_t maxRunners;
    const std::vector<int> listeners;  // owned by `socket`
    const Sys::OwnedFd epoll;
    const Sys::OwnedFd timer;
    const Sys::OwnedFd stopEvent;
    Ref<RequestHandler> handler;  // immutable after Start
    std::atomic<bool> stopping{false};

    std::atomic<std::size_t> waitingSends{0};

    Sys::Mutex lock;
    Sys::Condition idle;  // a runner has ended or, while the service stops, a connection
    std::unordered_map<std::uint64_t, Slot> slots GUARDED_BY(lock);
    std::uint64_t nextId GUARDED_BY(lock);
    TimePoint timerDue GUARDED_BY(lock) = TimePoint::max();
    TimePoint acceptResume GUARDED_BY(lock) = TimePoint::max();
    bool acceptIsPaused GUARDED_BY(lock) = false;
    TimePoint lastAcceptError GUARDED_BY(lock){-std::chrono::hours(1)};
    bool boundWasLogged GUARDED_BY(lock) = false;
    std::size_t bodies GUARDED_BY(lock) = 0;  // slots with a place
    bool bodyBoundWasLogged GUARDED_BY(lock) = false;
    std::deque<std::uint64_t> readyEvents GUARDED_BY(lock);  // fetched by a leader, not yet served
    bool leaderWaits GUARDED_BY(lock) = false;               // a runner is in epoll_wait
    std::size_t runners GUARDED_BY(lock) = 0;                // without those aside
    std::size_t runnersAside GUARDED_BY(lock) = 0;           // waiting for a client
    bool started GUARDED_BY(lock) = false;
};

// CreateHttpSvc with the given timeouts.
Ref<HttpService> CreateHttpSvc(const Ref<System::ServerSocket>& socket,
                               const Ref<Service::Logger>& logger, const HeaderDefinitions& headers,
                               const HttpTimes& times);

}  // namespace Pellmar::Http
