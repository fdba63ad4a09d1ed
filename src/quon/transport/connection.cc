// Handles the waits and heads of a connection, and what follows a response.
#include "quon/transport/connection.h"

#include "quon/transport/connection_table.h"
#include "quon/transport/message/responses.h"
#include "quon/transport/message/transport_error.h"

#include <exception>
#include <utility>

namespace Quon::Transport::PicoHttp {

Connection::Connection(boost::asio::io_context& context, Sys::OwnedFd socket,
                       std::shared_ptr<const ConnectionServices> services, ConnectionTable& table)
    : services(std::move(services)), table(table), stream(context, std::move(socket)) {}

void Connection::Start() {
    Run([this] {
        BeginWait(services->configuration.readTimeout);
        DoReadHead();
    });
}

std::size_t Connection::HeldBodyBytes() const {
    return (body ? body->HeldBytes() : 0) + (waitingCall ? waitingCall->parameters.capacity() : 0);
}

bool Connection::HoldsStalledAnswer() const {
    const ServerLimits& limits = services->configuration.limits;
    const TimePoint now = std::chrono::steady_clock::now();
    return HoldsAnswer() &&
           (*waitingSince <= now - limits.answerGrace || answeringSince <= now - limits.answerTime);
}

// Frees the request's memory now, since an operation in progress may keep the object alive for a
// while.
void Connection::Close() {
    if (!isOpen) {
        return;
    }
    isOpen = false;
    EndWait();
    stream.Close();
    body.reset();
    waitingCall.reset();
    answer.reset();
    if (tookMuchMemory) {
        table.ReleaseMemory();
    }
    table.Remove(shared_from_this());
}

void Connection::TimeOut() {
    Fail("the client is too slow", std::make_error_code(std::errc::timed_out));
}

Stream::OnDone Connection::Then(Step step) {
    return [self = shared_from_this(), step](const std::error_code& error, std::size_t count) {
        self->Run([&] { (self.get()->*step)(error, count); });
    };
}

void Connection::BeginWait(std::chrono::nanoseconds timeout) {
    waitingSince = std::chrono::steady_clock::now();
    deadline = *waitingSince + timeout;
    table.Watch(*deadline);
}

void Connection::EndWait() {
    waitingSince.reset();
    deadline.reset();
}

void Connection::SendText(std::string text, Step step) {
    outgoing = std::move(text);
    BeginWait(services->configuration.writeTimeout);
    if (stream.Send({outgoing, {}}, Then(step))) {
        (this->*step)({}, outgoing.size());
    }
}

void Connection::Fail(std::string_view reason) {
    if (services->logger->IsOn(kTracing)) {
        Log(kTracing, "Handle request error: " + std::string(reason));
    }
    Close();
}

void Connection::Fail(std::string_view operation, const std::error_code& error) {
    Fail(std::string(operation) + ": " + Describe(error));
}

void Connection::Log(LogLevel level, std::string_view text) const {
    services->logger->Log(level, text);
}

void Connection::DoReadHead() {
    const std::span<char> room = input.Room();
    if (room.empty()) {
        return RefuseHead(TransportError::HeadersTooLong);
    }
    stream.Receive(room, Then(&Connection::OnHeadBytes));
}

void Connection::OnHeadBytes(const std::error_code& error, std::size_t count) {
    if (error) {
        return Fail(kReceiveFailed, error);
    }
    if (count == 0) {
        return input.Unread().empty() ? Close() : RefuseHead(TransportError::HeadersParse);
    }
    if (input.Unread().empty()) {
        BeginWait(services->configuration.readTimeout);  // until here it was the idle timeout
    }
    input.Add(count);
    TakeHead();
}

void Connection::TakeHead() {
    const Http1::HeadScan scan = scanner.Scan(input.Unread());
    if (scan == Http1::HeadScan::Incomplete) {
        return DoReadHead();
    }
    Http1::RequestHead head;
    const std::size_t length = scanner.HeadLength();
    if (scan == Http1::HeadScan::Malformed || !head.Parse(input.Unread().substr(0, length))) {
        return RefuseHead(TransportError::HeadersParse);
    }
    Log(kPerRequest, "Request received");
    if (services->logger->IsOn(kTracing)) {
        Log(kTracing, "Request head: " + LoggableHead(head));
    }
    facts = {};
    if (const std::error_code error = ReadRequestFacts(head, facts)) {
        return RefuseHead(error);
    }
    input.Consume(length);
    scanner.Reset();
    HandleRequest();
}

void Connection::RefuseHead(const std::error_code& reason) {
    Log(kMilestone, "Invalid Http request");
    if (services->logger->IsOn(kTracing)) {
        Log(kTracing, "Handle request error: " + Describe(reason));
    }
    SendText(BadRequestResponse(reason), &Connection::OnLastTextSent);
}

// A request that has already arrived takes its turn after those of the other connections.
void Connection::FinishRequest() {
    Log(kTracing, "Request handled");
    idle.since = std::chrono::steady_clock::now();
    if (std::exchange(tookMuchMemory, false)) {
        table.ReleaseMemory();
    }
    table.BeginCalls();
    if (!facts.keepAlive) {
        return Linger();
    }
    BeginWait(services->configuration.readTimeout);
    if (input.Unread().empty()) {
        return DoReadHead();
    }
    stream.Post([self = shared_from_this()] { self->Run([&] { self->TakeHead(); }); });
}

void Connection::OnLastTextSent(const std::error_code& error, std::size_t) {
    if (error) {
        return Fail(kSendFailed, error);
    }
    Linger();
}

// Closing a socket with unread bytes sends a reset, which would overtake the response: so further
// input is discarded for a while, until the client has seen the end.
void Connection::Linger() {
    stream.FinishSending();
    BeginWait(services->configuration.limits.linger);
    DoDrop();
}

void Connection::DoDrop() {
    input.Clear();
    stream.Receive(input.Room(), Then(&Connection::OnDropped));
}

void Connection::OnDropped(const std::error_code& error, std::size_t count) {
    droppedBytes += count;
    if (error || count == 0 || droppedBytes > kMaxLingerBytes) {
        return Close();
    }
    DoDrop();
}

}  // namespace Quon::Transport::PicoHttp
