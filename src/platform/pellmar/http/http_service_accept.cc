// Accepts connections up to their bound, survives errors of accept, and times connections out.
#include "platform/http1/connection_bound.h"
#include "platform/pellmar/http/http_service_events.h"
#include "platform/pellmar/http/http_service_impl.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <system_error>
#include <utility>
#include <vector>

#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/timerfd.h>

namespace Pellmar::Http {

using Clock = std::chrono::steady_clock;

namespace {

// The longest pause of accepting when all connections are busy; the end of a connection resumes it
// at once.
constexpr std::chrono::milliseconds kFullPause{1'000};
// An accept error is logged again if there was none for this time.
constexpr std::chrono::minutes kQuietTime{1};

Http1::WaitingConnection ForBound(const Connection& connection) {
    return {.hasSentRequest = connection.hasSentRequest, .since = connection.since};
}

}  // namespace

// Accepts one connection for each event: the listener stays readable while more are pending.
void ServiceImpl::Accept(std::size_t listener) {
    if (!MakeRoom()) {
        PauseAccepting(kFullPause);
        return;
    }
    Sys::OwnedFd accepted(
        ::accept4(listeners[listener], nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    const int error = errno;
    if (accepted.IsOpen()) {
        Admit(std::move(accepted));
    } else if (error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM) {
        HandleAcceptError(error);
    }
}

// Returns false if the maximum number of connections is open and all are busy.
bool ServiceImpl::MakeRoom() {
    bool boundIsNew = false;
    {
        Sys::MutexLock held(lock);
        if (slots.size() < kMaxConnections) {
            return true;
        }
        boundIsNew = !std::exchange(boundWasLogged, true);
    }
    if (boundIsNew) {
        LogInternal(
            logger, 3,
            "%1 connections are open, which is the limit: each new one closes a waiting one",
            kMaxConnections);
    }
    return CloseOneThatWaits();
}

void ServiceImpl::HandleAcceptError(int error) {
    bool isNew = false;
    {
        Sys::MutexLock held(lock);
        const TimePoint now = Clock::now();
        isNew = now - std::exchange(lastAcceptError, now) > kQuietTime;
    }
    if (isNew) {
        LogInternal(logger, 3,
                    "Cannot accept a connection: %1. Waiting connections are closed, and accepting "
                    "resumes by itself",
                    std::generic_category().message(error));
    }
    if (!CloseOneThatWaits()) {
        PauseAccepting(times.acceptPause);
    }
}

// Checks for a request first, since most clients have sent it by now.
void ServiceImpl::Admit(Sys::OwnedFd accepted) {
    const TimePoint now = Clock::now();
    Ref<Connection> connection;
    {
        Sys::MutexLock held(lock);
        if (stopping) {
            return;
        }
        const std::uint64_t id = nextId++;
        connection = MakeRef<Connection>(id, std::move(accepted), now, now + times.head);
        slots[id].connection = connection;
    }
    ReadHead(connection);
}

// The pause is always bounded: a connection that ends just now may have checked for a pause before
// it started.
void ServiceImpl::PauseAccepting(std::chrono::milliseconds duration) {
    WatchListeners(0);
    Sys::MutexLock held(lock);
    acceptIsPaused = true;
    acceptResume = Clock::now() + duration;
    ArmTimer(acceptResume);
    LetTheSlowestGiveWay();
}

void ServiceImpl::ResumeAccepting() const { WatchListeners(EPOLLIN); }

void ServiceImpl::WatchListeners(std::uint32_t events) const {
    for (std::size_t index = 0; index < listeners.size(); ++index) {
        (void)Register(EPOLL_CTL_MOD, listeners[index], events,
                       kFirstListenerEvent + index);  // modifying a registration allocates nothing
    }
}

// Frees a slot for a new connection. Returns false if every connection is busy.
bool ServiceImpl::CloseOneThatWaits() {
    Ref<Connection> closed;  // destroyed after the lock is released
    {
        Sys::MutexLock held(lock);
        const TimePoint now = Clock::now();
        auto first = slots.end();
        for (auto slot = slots.begin(); slot != slots.end(); ++slot) {
            if (slot->second.waits &&
                (first == slots.end() ||
                 Http1::GivesWayBefore(ForBound(*slot->second.connection),
                                       ForBound(*first->second.connection), now))) {
                first = slot;
            }
        }
        if (first == slots.end()) {
            return false;
        }
        closed = first->second.connection;
        Erase(first);
    }
    if (closed->gatedSince) {
        SendRefusal(*closed, ResponseCode::RequestTimeout);
    }
    return true;
}

ServiceImpl::SlotIterator ServiceImpl::Erase(SlotIterator slot) {
    slot->second.waits = false;  // so that its place goes to another post
    FreePlace(slot->second);
    return slots.erase(slot);
}

void ServiceImpl::CloseOverdue() {
    std::vector<Ref<Connection>> overdue;
    bool resumes = false;
    {
        Sys::MutexLock held(lock);
        const TimePoint now = Clock::now();
        TimePoint next = TimePoint::max();
        for (auto slot = slots.begin(); slot != slots.end();) {
            if (slot->second.waits && slot->second.deadline <= now) {
                overdue.push_back(slot->second.connection);
                slot = Erase(slot);
                continue;
            }
            if (slot->second.waits) {
                next = std::min(next, slot->second.deadline);
            }
            ++slot;
        }
        resumes = acceptIsPaused && (acceptResume <= now || !overdue.empty());
        acceptIsPaused = acceptIsPaused && !resumes;
        acceptResume = acceptIsPaused ? acceptResume : TimePoint::max();
        timerDue = TimePoint::max();
        ArmTimer(std::min(next, acceptResume));
        LetTheSlowestGiveWay();
    }
    for (const Ref<Connection>& connection : overdue) {
        if (connection->gatedSince) {
            SendRefusal(*connection, ResponseCode::RequestTimeout);
        }
    }
    overdue.clear();
    if (resumes) {
        ResumeAccepting();
    }
}

// Sets the timer if `due` is earlier than its current time. When the time of a connection is
// extended the timer is left alone: it fires early once and is then set again.
void ServiceImpl::ArmTimer(TimePoint due) {
    if (due >= timerDue) {
        return;
    }
    timerDue = due;
    const auto sinceEpoch =
        std::chrono::duration_cast<std::chrono::nanoseconds>(due.time_since_epoch()).count();
    itimerspec setting{};
    setting.it_value.tv_sec = static_cast<std::time_t>(sinceEpoch / 1'000'000'000);
    setting.it_value.tv_nsec = static_cast<long>(sinceEpoch % 1'000'000'000);
    (void)::timerfd_settime(timer.Get(), TFD_TIMER_ABSTIME, &setting,
                            nullptr);  // the arguments are valid
}

}  // namespace Pellmar::Http
