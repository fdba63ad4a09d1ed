// Handles the requests of a connection, from the first byte of a head to the call of the handler,
// and the connection after a response.
#include "platform/http1/origin.h"
#include "platform/pellmar/http/http_exchange.h"
#include "platform/pellmar/http/http_response_text.h"
#include "platform/pellmar/http/http_service_impl.h"
#include "platform/pellmar/work/work_queue.h"

#include <cerrno>
#include <exception>
#include <system_error>
#include <utility>

#include <sys/epoll.h>

namespace Pellmar::Http {

using Clock = std::chrono::steady_clock;

// The connection of an event, now owned by the calling thread; empty if it was closed in the
// meantime.
Ref<Connection> ServiceImpl::Claim(std::uint64_t id) {
    Sys::MutexLock held(lock);
    const auto slot = slots.find(id);
    if (slot == slots.end() || !slot->second.waits) {
        return {};
    }
    slot->second.waits = false;
    return slot->second.connection;
}

void ServiceImpl::ReadHead(const Ref<Connection>& connection) {
    for (;;) {
        const std::string_view unread = connection->Unread();
        switch (connection->scanner.Scan(unread)) {
            case Http1::HeadScan::Malformed:
                Refuse(connection, ResponseCode::BadRequest);
                return;
            case Http1::HeadScan::Complete:
                Dispatch(connection, connection->scanner.HeadLength());
                return;
            case Http1::HeadScan::Incomplete:
                break;
        }
        if (unread.size() >= kMaxHeadBytes) {
            Refuse(connection, ResponseCode::HeaderFieldsTooLarge);
            return;
        }
        const Connection::Fill fill = connection->FillInput();
        if (fill == Connection::Fill::Data) {
            continue;
        }
        if (fill != Connection::Fill::Nothing) {
            Close(connection);
            return;
        }
        if (!connection->deadline && !connection->Unread().empty()) {
            connection->deadline = Clock::now() + times.head;
        }
        if (connection->Unread().empty()) {
            connection->ReleaseInput();
        }
        Await(connection, EPOLLIN, connection->deadline.value_or(Clock::now() + times.kept));
        return;
    }
}

void ServiceImpl::Dispatch(const Ref<Connection>& connection, std::size_t headLength) {
    if (headLength > kMaxHeadBytes) {
        Refuse(connection, ResponseCode::HeaderFieldsTooLarge);
        return;
    }
    Http1::RequestHead head;
    if (!head.Parse(connection->Unread().substr(0, headLength))) {
        Refuse(connection, ResponseCode::BadRequest);
        return;
    }
    if (Http1::HasForeignOrigin(head)) {
        Refuse(connection, ResponseCode::Forbidden);
        return;
    }
    const Http1::ContentLength length = Http1::ReadContentLength(head);
    if (length.kind == Http1::LengthKind::Ambiguous || length.kind == Http1::LengthKind::Invalid) {
        Refuse(connection, ResponseCode::BadRequest);
        return;
    }
    // No body is read if a transfer coding hides its end.
    const std::uint64_t bodyLength = head.Find("transfer-encoding") ? 0 : length.value;
    const std::uint64_t arrived = connection->Unread().size() - headLength;
    if (arrived < bodyLength && !TakePlace(connection, bodyLength, arrived)) {
        AwaitPlace(connection, headLength, headLength + bodyLength);
        return;
    }
    connection->deadline.reset();
    connection->gatedSince.reset();
    connection->scanner.Reset();
    Handle(connection, head, length, headLength);
}

void ServiceImpl::Handle(const Ref<Connection>& connection, const Http1::RequestHead& head,
                         const Http1::ContentLength& length, std::size_t headLength) {
    System::DeferredQueue deferred;
    {
        const Ref<Exchange> exchange =
            MakeRef<Exchange>(Ref<ServiceImpl>(this), connection, head, length);
        const std::string method(head.Method());
        connection->Consume(headLength);  // invalidates the views in `head`
        try {
            CallHandler(method, exchange, exchange);
        } catch (const std::exception& exception) {
            LogInternal(logger, 3, "%1 %2 failed: %3", method, exchange->GetUrl(),
                        exception.what());
        } catch (...) {
            LogInternal(logger, 3, "%1 %2 failed with an unknown exception", method,
                        exchange->GetUrl());
        }
    }
    deferred.RunDeferred();
}

void ServiceImpl::CallHandler(std::string_view method, const Ref<Request>& request,
                              const Ref<Response>& response) {
    if (method == "POST") {
        handler->HandlePost(request, response);
    } else if (method == "GET") {
        handler->HandleGet(request, response);
    } else if (method == "HEAD") {
        handler->HandleHead(request, response);
    } else if (method == "PUT") {
        handler->HandlePut(request, response);
    } else if (method == "DELETE") {
        handler->HandleDelete(request, response);
    } else {
        response->Reply(ResponseCode::MethodNotAllowed);
    }
}

// Responds to input that is not a valid request.
void ServiceImpl::Refuse(const Ref<Connection>& connection, const ResponseCode& code) {
    LogInternal(logger, 6, "Refused a request head with %1 %2", code.status, code.reason);
    SendRefusal(*connection, code);
    Linger(connection);
}

void ServiceImpl::SendRefusal(Connection& connection, const ResponseCode& code) const {
    const std::string text = ResponseText(code, headerBlock, "close");
    std::string_view unsent = text;
    (void)connection.Send(unsent);
}

void ServiceImpl::AwaitNextRequest(const Ref<Connection>& connection) {
    connection->hasSentRequest = true;
    connection->since = Clock::now();
    if (connection->Unread().empty()) {
        connection->ReleaseInput();
        Await(connection, EPOLLIN, Clock::now() + times.kept);
    } else {
        // The input read so far may contain the next request. A writable socket causes an event at
        // once, so a runner checks.
        connection->deadline = Clock::now() + times.head;
        Await(connection, EPOLLIN | EPOLLOUT, *connection->deadline);
    }
}

void ServiceImpl::Linger(const Ref<Connection>& connection) {
    connection->FinishSending();
    connection->lingers = true;
    connection->deadline = Clock::now() + times.linger;
    DropInput(connection);
}

void ServiceImpl::DropInput(const Ref<Connection>& connection) {
    if (connection->Discard() == Connection::Fill::Nothing) {
        connection->ReleaseInput();
        Await(connection, EPOLLIN, *connection->deadline);
    } else {
        Close(connection);
    }
}

void ServiceImpl::Await(const Ref<Connection>& connection, std::uint32_t events,
                        TimePoint deadline) {
    bool resumes = false;
    int error = 0;
    {
        Sys::MutexLock held(lock);
        const auto found = slots.find(connection->GetId());
        Slot& slot = found->second;
        if (stopping) {
            slots.erase(found);
            idle.NotifyAll();
            return;
        }
        // Under the lock, since a runner may claim and register the connection anew as soon as
        // `waits` is set.
        const int operation = std::exchange(slot.isWatched, true) ? EPOLL_CTL_MOD : EPOLL_CTL_ADD;
        if (!Register(operation, connection->GetSocket(), events | EPOLLONESHOT,
                      connection->GetId())) {
            error = errno;
        } else {
            slot.waits = true;
            slot.deadline = deadline;
            ArmTimer(deadline);
            // Accepting can resume: this connection can now be closed in favour of a new one.
            resumes = std::exchange(acceptIsPaused, false);
            SeeToPlaces(slot);
        }
    }
    if (error != 0) {
        LogInternal(logger, 3, "Cannot watch a connection, so it is closed: %1",
                    std::generic_category().message(error));
        Close(connection);
    }
    if (resumes) {
        ResumeAccepting();
    }
}

void ServiceImpl::Close(const Ref<Connection>& connection) {
    bool resumes = false;
    {
        Sys::MutexLock held(lock);
        Erase(slots.find(connection->GetId()));
        resumes = std::exchange(acceptIsPaused, false) && !stopping;
        acceptResume = TimePoint::max();
        if (stopping) {
            idle.NotifyAll();
        }
    }
    if (resumes) {
        ResumeAccepting();
    }
}

}  // namespace Pellmar::Http
