// Assigns the places for posts whose bodies have still to arrive: who gets one, who waits, who
// gives way. A post that arrives together with its body needs none, so slow clients cannot delay
// it.
#include "platform/pellmar/http/http_service_impl.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <sys/epoll.h>

namespace Pellmar::Http {

using Clock = std::chrono::steady_clock;

namespace {

struct SlowBody {
    double bytesPerSecond;
    Connection* connection;
};

double Rate(std::uint64_t bytes, Clock::duration time) {
    return static_cast<double>(bytes) / std::chrono::duration<double>(time).count();
}

}  // namespace

// Returns false if all places are taken; call AwaitPlace then.
bool ServiceImpl::TakePlace(const Ref<Connection>& connection, std::uint64_t length,
                            std::uint64_t arrived) {
    bool boundIsNew = false;
    {
        Sys::MutexLock held(lock);
        Slot& slot = slots.find(connection->GetId())->second;
        if (slot.holdsPlace || bodies < kMaxBodies) {
            bodies += slot.holdsPlace ? 0 : 1;
            slot.holdsPlace = true;
            slot.bodySince = Clock::now();
            connection->ExpectBody(length, arrived);
            return true;
        }
        boundIsNew = !std::exchange(bodyBoundWasLogged, true);
    }
    if (boundIsNew) {
        LogInternal(logger, 3,
                    "%1 bodies are being read, which is the limit: while further posts wait, the "
                    "slowest bodies that take more than %2 ms give way",
                    kMaxBodies, times.bodyGrace.count());
    }
    return false;
}

// Reads ahead while the connection waits: a request that becomes complete is dispatched.
void ServiceImpl::AwaitPlace(const Ref<Connection>& connection, std::size_t headLength,
                             std::uint64_t requestLength) {
    if (!connection->gatedSince) {
        connection->gatedSince = Clock::now();
    }
    std::uint32_t events = EPOLLIN;
    for (;;) {
        const std::size_t unread = connection->Unread().size();
        if (unread >= requestLength) {
            Dispatch(connection, headLength);
            return;
        }
        if (unread == kInputBytes) {
            events = 0;  // the buffer is full: an event would repeat endlessly
            break;
        }
        const Connection::Fill fill = connection->FillInput();
        if (fill == Connection::Fill::Nothing) {
            break;
        }
        if (fill != Connection::Fill::Data) {
            Close(connection);
            return;
        }
    }
    Await(connection, events, *connection->gatedSince + times.bodyStall);
}

void ServiceImpl::SeeToPlaces(Slot& slot) {
    if (!slot.connection->gatedSince) {
        FreePlace(slot);
    } else if (bodies < kMaxBodies) {
        GivePlace(slot);  // a place became free in the meantime
    } else {
        LetTheSlowestGiveWay();
    }
}

// The post that has waited longest gets the place.
void ServiceImpl::FreePlace(Slot& slot) {
    if (!std::exchange(slot.holdsPlace, false)) {
        return;
    }
    --bodies;
    Slot* next = nullptr;
    for (auto& [id, other] : slots) {
        if (other.waits && !other.holdsPlace && other.connection->gatedSince &&
            (next == nullptr || other.connection->gatedSince < next->connection->gatedSince)) {
            next = &other;
        }
    }
    if (next != nullptr) {
        GivePlace(*next);
    }
}

// A runner then claims the connection. The socket causes no event, so the timer wakes the leader.
void ServiceImpl::GivePlace(Slot& slot) {
    ++bodies;
    slot.holdsPlace = true;
    readyEvents.push_back(slot.connection->GetId());
    if (leaderWaits) {
        ArmTimer(Clock::now());
    }
}

// As many posts give way as clients wait for a place or, if every connection is busy, to be
// accepted. A body that no thread reads yet, behind another one of its report name, frees its place
// only after that one: it gives way in turn, but does not count.
void ServiceImpl::LetTheSlowestGiveWay() {
    const TimePoint now = Clock::now();
    TimePoint next = TimePoint::max();
    std::size_t waiting = acceptIsPaused ? 1 : 0;
    std::size_t leaving = 0;
    std::vector<SlowBody> late;
    for (const auto& [id, slot] : slots) {
        Connection& connection = *slot.connection;
        if (slot.waits) {
            waiting += std::size_t{connection.gatedSince && !slot.holdsPlace};
        } else if (slot.holdsPlace && connection.GaveWay()) {
            leaving += std::size_t{connection.bodyIsRead};
        } else if (slot.holdsPlace && slot.bodySince + times.bodyGrace > now) {
            next = std::min(next, slot.bodySince + times.bodyGrace);
        } else if (slot.holdsPlace && !connection.BodyIsHere()) {
            late.push_back({Rate(connection.BodyArrived(), now - slot.bodySince), &connection});
        }
    }
    std::sort(late.begin(), late.end(), [](const SlowBody& one, const SlowBody& other) {
        return one.bytesPerSecond < other.bytesPerSecond;
    });
    for (auto slow = late.begin(); slow != late.end() && leaving < waiting; ++slow) {
        slow->connection->GiveWay();
        leaving += std::size_t{slow->connection->bodyIsRead};
    }
    if (leaving < waiting) {
        ArmTimer(next);
    }
}

}  // namespace Pellmar::Http
