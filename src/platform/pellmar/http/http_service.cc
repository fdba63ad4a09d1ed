// Starts and stops the service and its runners. http_service_accept.cc accepts connections and
// times them out, http_service_requests.cc handles their requests, http_service_bodies.cc limits
// the bodies that are being read.
#include "platform/pellmar/http/http_service.h"

#include "platform/pellmar/exceptions.h"
#include "platform/pellmar/http/http_response_text.h"
#include "platform/pellmar/http/http_service_events.h"
#include "platform/pellmar/http/http_service_impl.h"
#include "platform/pellmar/work/thread_pool.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <thread>
#include <utility>

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>

namespace Pellmar::Http {

namespace {

constexpr std::size_t kMinRunners = 2;
constexpr std::size_t kMaxRunners = 8;
// The maximum number of events from one wait.
constexpr int kMaxReadyEvents = 16;
// How many ready events one runner handles alone: waking another one and sharing the lock of the
// report directory with it costs more time than it saves.
constexpr int kEventsOfOneRunner = 8;

// The service for which this thread is a runner.
thread_local ServiceImpl* tRunnerOf = nullptr;

int Opened(int descriptor, const char* what) {
    if (descriptor < 0) {
        const int error = errno;
        throw IOException(what, error);
    }
    return descriptor;
}

}  // namespace

Ref<HttpService> CreateHttpSvc(const Ref<System::ServerSocket>& socket,
                               const Ref<Service::Logger>& logger,
                               const HeaderDefinitions& headers) {
    return CreateHttpSvc(socket, logger, headers, HttpTimes{});
}

Ref<HttpService> CreateHttpSvc(const Ref<System::ServerSocket>& socket,
                               const Ref<Service::Logger>& logger, const HeaderDefinitions& headers,
                               const HttpTimes& times) {
    return MakeRef<ServiceImpl>(socket, logger, headers, times);
}

ServiceImpl::ServiceImpl(const Ref<System::ServerSocket>& socket,
                         const Ref<Service::Logger>& logger, const HeaderDefinitions& headers,
                         const HttpTimes& times)
    : socket(socket),
      logger(logger),
      headerBlock(HeaderBlock(headers)),
      times(times),
      maxRunners(
          std::clamp<std::size_t>(std::thread::hardware_concurrency(), kMinRunners, kMaxRunners)),
      listeners(socket->GetDescriptors()),
      epoll(Opened(::epoll_create1(EPOLL_CLOEXEC), "epoll_create1")),
      timer(
          Opened(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK), "timerfd_create")),
      stopEvent(Opened(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")),
      nextId(kFirstConnectionEvent) {}

ServiceImpl::~ServiceImpl() = default;

void ServiceImpl::Start() {
    bool registered = Register(EPOLL_CTL_ADD, stopEvent.Get(), EPOLLIN, kStopEvent) &&
                      Register(EPOLL_CTL_ADD, timer.Get(), EPOLLIN | EPOLLET, kTimerEvent);
    for (std::size_t index = 0; registered && index < listeners.size(); ++index) {
        registered =
            Register(EPOLL_CTL_ADD, listeners[index], EPOLLIN, kFirstListenerEvent + index);
    }
    if (!registered) {
        const int error = errno;
        throw IOException("epoll_ctl", error);
    }
    {
        Sys::MutexLock held(lock);
        started = true;
        ++runners;
    }
    StartRunner();
}

void ServiceImpl::Stop() {
    std::vector<Ref<Connection>> waiting;
    {
        Sys::MutexLock held(lock);
        if (!started || stopping.exchange(true)) {
            return;
        }
        for (auto slot = slots.begin(); slot != slots.end();) {
            if (slot->second.waits) {
                waiting.push_back(slot->second.connection);
                slot = Erase(slot);
            } else {
                ++slot;
            }
        }
    }
    waiting.clear();
    (void)::eventfd_write(stopEvent.Get(), 1);  // cannot fail: the counter is far from its maximum

    const auto allEnded = [this]() REQUIRES(lock) {
        return slots.empty() && runners == 0 && runnersAside == 0;
    };
    Sys::MutexLock held(lock);
    const TimePoint grace = std::chrono::steady_clock::now() + times.stop;
    while (!allEnded() && idle.WaitUntil(lock, grace)) {
    }
    for (const auto& [id, slot] : slots) {
        slot.connection->Abort();
    }
    const TimePoint last = std::chrono::steady_clock::now() + times.stop;
    while (!allEnded() && idle.WaitUntil(lock, last)) {
    }
    if (runners == 0) {
        socket->Close();
    }
}

void ServiceImpl::StartRunner() {
    try {
        System::GetThreadPool().Run([self = Ref<ServiceImpl>(this)] { self->Serve(); });
    } catch (const std::exception& exception) {
        {
            Sys::MutexLock held(lock);
            --runners;
        }
        LogInternal(logger, 3,
                    "Cannot start a thread to serve connections: %1. The running threads continue "
                    "alone; raise the limit of threads",
                    exception.what());
    }
}

// The loop of a runner. It ends when the service stops, when too many runners exist, or when it has
// nothing to do while another runner waits for events.
void ServiceImpl::Serve() {
    tRunnerOf = this;
    std::uint64_t event = 0;
    while (NextEvent(event)) {
        HandleEvent(event);
    }
    tRunnerOf = nullptr;
}

// Returns false if this runner is to end; it then no longer counts.
bool ServiceImpl::NextEvent(std::uint64_t& event) {
    Sys::MutexLock held(lock);
    for (;;) {
        if (stopping || runners > maxRunners || (readyEvents.empty() && leaderWaits)) {
            --runners;
            idle.NotifyAll();
            return false;
        }
        if (!readyEvents.empty()) {
            event = readyEvents.front();
            readyEvents.pop_front();
            return true;
        }
        leaderWaits = true;
        held.Unlock();
        std::array<epoll_event, kMaxReadyEvents> ready;
        const int count = ::epoll_wait(epoll.Get(), ready.data(), kMaxReadyEvents, -1);
        held.Lock();
        leaderWaits = false;
        for (int index = 0; index < count; ++index) {
            // A copy: epoll_event is packed, so a reference into it may be misaligned.
            readyEvents.push_back(std::uint64_t{ready[static_cast<std::size_t>(index)].data.u64});
        }
        if (count > kEventsOfOneRunner && runners < maxRunners) {
            ++runners;
            held.Unlock();
            StartRunner();
            held.Lock();
        }
    }
}

void ServiceImpl::HandleEvent(std::uint64_t event) {
    if (event >= kFirstConnectionEvent) {
        if (const Ref<Connection> connection = Claim(event)) {
            if (connection->lingers) {
                DropInput(connection);
            } else {
                ReadHead(connection);
            }
        }
    } else if (event >= kFirstListenerEvent) {
        Accept(event - kFirstListenerEvent);
    } else if (event == kTimerEvent) {
        CloseOverdue();
    }
}

ServiceImpl::Aside::Aside(ServiceImpl& service) : service(service) {
    if (tRunnerOf != &service) {
        return;
    }
    bool startsAnother = false;
    {
        Sys::MutexLock held(service.lock);
        --service.runners;
        ++service.runnersAside;
        startsAnother = service.runners < service.maxRunners &&
                        (!service.leaderWaits || !service.readyEvents.empty());
        service.runners += startsAnother ? 1 : 0;
    }
    if (startsAnother) {
        service.StartRunner();
    }
}

ServiceImpl::Aside::~Aside() {
    if (tRunnerOf == &service) {
        Sys::MutexLock held(service.lock);
        --service.runnersAside;
        ++service.runners;
    }
}

bool ServiceImpl::Register(int operation, int descriptor, std::uint32_t events,
                           std::uint64_t event) const {
    epoll_event registration{};
    registration.events = events;
    registration.data.u64 = event;
    return ::epoll_ctl(epoll.Get(), operation, descriptor, &registration) == 0;
}

}  // namespace Pellmar::Http
