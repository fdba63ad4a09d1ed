#include "platform/pellmar/http/http_exchange.h"

#include "platform/pellmar/exceptions.h"
#include "platform/pellmar/http/http_response_text.h"
#include "platform/pellmar/http/http_service_impl.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <limits>
#include <system_error>
#include <utility>

#include <poll.h>

namespace Pellmar::Http {

using Clock = std::chrono::steady_clock;

namespace {

// Combines all values of a field (RFC 9110 section 5.3), so that a second Content-Type is noticed.
std::string CombinedValue(const Http1::RequestHead& head, std::string_view name) {
    std::string combined;
    bool isFirst = true;
    for (const Http1::HeaderField& field : head) {
        if (Http1::EqualsIgnoringCase(field.name, name)) {
            combined += isFirst ? "" : ", ";
            combined += field.value;
            isFirst = false;
        }
    }
    return combined;
}

}  // namespace

Exchange::Exchange(Ref<ServiceImpl> service, Ref<Connection> connection,
                   const Http1::RequestHead& head, const Http1::ContentLength& length)
    : service(std::move(service)),
      connection(std::move(connection)),
      contentType(CombinedValue(head, "content-type")),
      url(head.Path()),
      isHttp10(head.MinorVersion() == 0),
      keepsConnection(Http1::KeepsConnection(head)),
      expectsContinue(!isHttp10 && Http1::ListHasToken(head, "expect", "100-continue")) {
    // A transfer coding overrides a length (RFC 9112 section 6.3). This service decodes none, so
    // there is no length, and the end of the body is unknown.
    bodyIsUnbounded = head.Find("transfer-encoding").has_value();
    hasLength = !bodyIsUnbounded && length.kind != Http1::LengthKind::Absent;
    if (hasLength) {
        constexpr std::uint64_t kLargest = std::numeric_limits<std::int64_t>::max();
        contentLength = static_cast<std::int64_t>(std::min(length.value, kLargest));
        bodyLeft = static_cast<std::uint64_t>(contentLength);
    }
}

Exchange::~Exchange() {
    SendWhatIsOwed();
    const bool requestIsRead = bodyLeft == 0 && !bodyIsUnbounded;
    if (sendFailed || bodyState == BodyState::Gone) {
        service->Close(connection);
    } else if (!requestIsRead || (!keepsConnection && !connection->Unread().empty())) {
        service->Linger(connection);
    } else if (!keepsConnection) {
        service->Close(connection);
    } else {
        service->AwaitNextRequest(connection);
    }
}

bool Exchange::GetContentLength(std::int64_t& length) const {
    if (hasLength) {
        length = contentLength;
    }
    return hasLength;
}

int Exchange::ReadBody(char* buffer, std::size_t size) {
    if (bodyLeft == 0) {
        return -1;
    }
    if (!bodyHasBegun) {
        BeginBody();
    }
    if (connection->Unread().empty()) {
        AwaitBody();
    }
    const std::string_view unread = connection->Unread();
    const std::size_t count = std::min({size, unread.size(), static_cast<std::size_t>(bodyLeft),
                                        std::size_t{std::numeric_limits<int>::max()}});
    std::memcpy(buffer, unread.data(), count);
    connection->Consume(count);
    bodyLeft -= count;
    return static_cast<int>(count);
}

void Exchange::Reply(const ResponseCode& code) {
    if (!SendAnswer(code)) {
        Service::LogInternal(service->GetLogger(), 6, "Cannot send response %1 to %2", code.status,
                             url);
    }
}

void Exchange::Complete() {
    if (!SendAnswer(status)) {
        throw IOException("cannot send the response to " + url + ": the client is gone");
    }
}

void Exchange::BeginBody() {
    bodyHasBegun = true;
    connection->bodyIsRead = true;
    bodyDeadline = Clock::now() + service->GetTimes().body;
    if (expectsContinue && !SendAll("HTTP/1.1 100 Continue\r\n\r\n")) {
        FailBody(BodyState::Gone, "the client is gone");
    }
}

void Exchange::AwaitBody() {
    for (;;) {
        if (connection->GaveWay()) {
            FailBody(BodyState::Late, "the client is too slow while other posts wait");
        }
        switch (connection->FillInput()) {
            case Connection::Fill::Data:
                return;
            case Connection::Fill::End:
                if (connection->GaveWay()) {
                    continue;
                }
                FailBody(BodyState::Gone, "the client closed the connection");
            case Connection::Fill::Failed:
                FailBody(BodyState::Gone, std::generic_category().message(errno));
            case Connection::Fill::Nothing:
                break;
        }
        const Connection::TimePoint stall = Clock::now() + service->GetTimes().bodyStall;
        if (!WaitAside(POLLIN, std::min(stall, bodyDeadline))) {
            FailBody(BodyState::Late, stall < bodyDeadline ? "the client stopped sending"
                                                           : "the client is too slow");
        }
    }
}

void Exchange::FailBody(BodyState failure, const std::string& reason) {
    bodyState = failure;
    throw IOException("the body of " + url + " is incomplete, " + std::to_string(bodyLeft) +
                      " of " + std::to_string(contentLength) + " bytes are missing: " + reason);
}

bool Exchange::WaitAside(short events, Connection::TimePoint deadline) {
    const ServiceImpl::Aside aside(*service);
    return connection->Wait(events, deadline);
}

bool Exchange::SendAll(std::string_view bytes) {
    const Connection::TimePoint none{};
    Connection::TimePoint deadline = none;
    for (;;) {
        switch (connection->Send(bytes)) {
            case Connection::Sending::Done:
                return true;
            case Connection::Sending::Failed:
                sendFailed = true;
                return false;
            case Connection::Sending::MustWait:
                break;
        }
        if (deadline == none) {
            deadline = Clock::now() + service->GetTimes().send;
        }
        const bool canSend = service->BeginWaitingSend() && WaitAside(POLLOUT, deadline);
        service->EndWaitingSend();
        if (!canSend) {
            sendFailed = true;
            return false;
        }
    }
}

bool Exchange::SendAnswer(const ResponseCode& code) {
    if (answered) {
        return true;
    }
    answered = true;
    keepsConnection = keepsConnection && bodyLeft == 0 && !bodyIsUnbounded &&
                      bodyState == BodyState::Fine && !service->IsStopping();
    const std::string_view keep = isHttp10 ? "keep-alive" : "";
    return SendAll(ResponseText(code, service->GetHeaderBlock(), keepsConnection ? keep : "close"));
}

// Sends the response that job or handler did not send. A client that broke off its body gets none.
void Exchange::SendWhatIsOwed() {
    if (answered || bodyState == BodyState::Gone) {
        return;
    }
    Reply(bodyState == BodyState::Late ? ResponseCode::RequestTimeout : status);
}

}  // namespace Pellmar::Http
