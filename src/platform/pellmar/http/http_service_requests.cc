// The requests of a connection, from the first byte of a head to the handler, and what follows an
// answer.
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

// The connection of an event, now owned by the calling thread; none when it was closed meanwhile.
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
    const Http1::ContentLength length = Http1::ReadContentLength(head);
    if (length.kind == Http1::LengthKind::Ambiguous || length.kind == Http1::LengthKind::Invalid) {
        Refuse(connection, ResponseCode::BadRequest);
        return;
    }
    connection->deadline.reset();
    connection->scanner.Reset();
    System::DeferredQueue deferred;
    {
        const Ref<Exchange> exchange =
            MakeRef<Exchange>(Ref<ServiceImpl>(this), connection, head, length);
        const std::string method(head.Method());
        connection->Consume(headLength);  // the views of `head` end here
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

// Answers what is no request.
void ServiceImpl::Refuse(const Ref<Connection>& connection, const ResponseCode& code) {
    LogInternal(logger, 6, "Refused a request head with %1 %2", code.status, code.reason);
    const std::string text = ResponseText(code, headerBlock, "close");
    std::string_view unsent = text;
    (void)connection->Send(unsent);  // a client that takes no answer goes without
    Linger(connection);
}

void ServiceImpl::AwaitNextRequest(const Ref<Connection>& connection) {
    if (connection->Unread().empty()) {
        connection->ReleaseInput();
        Await(connection, EPOLLIN, Clock::now() + times.kept);
    } else {
        // What has been read ahead may hold the next request: a socket that can be written to makes
        // an event at once, and a runner looks at it.
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
    int operation = EPOLL_CTL_MOD;
    {
        Sys::MutexLock held(lock);
        const auto slot = slots.find(connection->GetId());
        if (stopping) {
            slots.erase(slot);
            idle.NotifyAll();
            return;
        }
        slot->second.waits = true;
        slot->second.waitsSince = Clock::now();
        slot->second.deadline = deadline;
        if (!std::exchange(slot->second.isWatched, true)) {
            operation = EPOLL_CTL_ADD;
        }
        ArmTimer(deadline);
        // Accepting that waits for room can go on: this connection can be closed for a new one.
        resumes = std::exchange(acceptIsPaused, false);
    }
    // The caller's reference keeps the socket open, should another thread close the connection now.
    if (!Register(operation, connection->GetSocket(), events | EPOLLONESHOT, connection->GetId())) {
        const int error = errno;
        LogInternal(logger, 3, "Cannot watch a connection: %1. It is closed",
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
        slots.erase(connection->GetId());
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
