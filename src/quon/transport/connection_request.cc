// Handles a request after its head: expectation, body, call and response.
#include "quon/transport/connection.h"
#include "quon/transport/connection_table.h"
#include "quon/transport/message/responses.h"
#include "quon/transport/message/transport_error.h"

#include <exception>
#include <utility>
#include <variant>

namespace Quon::Transport::PicoHttp {

void Connection::HandleRequest() {
    if (facts.expectation == Expectation::Unknown) {
        Log(kMilestone, "Invalid Http request: Expect header value is not 100-continue");
        return SendText(std::string(kExpectationFailed), &Connection::OnLastTextSent);
    }
    if (facts.requestFormats != kJson || facts.hasForeignOrigin) {
        Log(kPerRequest, "Request is considered as bad");
        return Reject();
    }
    body.emplace(facts, services->configuration.httpBodySizeLimitInBytes);
    if (facts.expectation == Expectation::Continue && body->WantsBytes()) {
        return SendText(std::string(kContinue), &Connection::OnContinueSent);
    }
    BeginWait(services->configuration.readTimeout);
    TakeBody();
}

void Connection::OnContinueSent(const std::error_code& error, std::size_t) {
    if (error) {
        return Fail(kSendFailed, error);
    }
    BeginWait(services->configuration.readTimeout);
    TakeBody();
}

void Connection::TakeBody() {
    std::string_view received = input.Unread();
    const std::size_t arrived = received.size();
    const BodyReader::Progress progress = body->Take(received);
    input.Consume(arrived - received.size());
    tookMuchMemory = tookMuchMemory || body->HeldBytes() > kMuchMemoryBytes;
    switch (progress) {
        case BodyReader::Progress::NeedsMore:
            return DoReadBody();
        case BodyReader::Progress::Failed:
            return RefuseBody(body->Error());
        case BodyReader::Progress::Complete:
            break;
    }
    std::string document = body->Release();
    body.reset();
    HandleDocument(std::move(document));
}

void Connection::DoReadBody() {
    table.BoundBodies();
    if (isOpen) {  // BoundBodies may have closed this connection
        stream.Receive(input.Room(), Then(&Connection::OnBodyBytes));
    }
}

void Connection::OnBodyBytes(const std::error_code& error, std::size_t count) {
    if (error || count == 0) {
        return RefuseBody(error ? error : TransportError::IncompleteBody);
    }
    input.Add(count);
    TakeBody();
}

void Connection::RefuseBody(const std::error_code& reason) {
    if (services->logger->IsOn(kPerRequest)) {
        Log(kPerRequest,
            "RequestReadCb: " + std::to_string(body->Size()) + " Error: " + Describe(reason));
    }
    body.reset();
    Reject();
}

void Connection::Reject() {
    const ServerConfiguration& configuration = services->configuration;
    SendText(
        RejectedResponse(facts, configuration.httpBodySizeLimitInBytes, configuration.localizer),
        &Connection::OnRejectionSent);
}

void Connection::OnRejectionSent(const std::error_code& error, std::size_t count) {
    Log(kPerRequest,
        error ? "Failed to send InvalidRequest response:" : "Sent InvalidRequest response:");
    OnLastTextSent(error, count);
}

void Connection::HandleDocument(std::string document) {
    idle.hasSentRequest = true;
    auto read = services->deserializer.Deserialize(document);
    document = std::string();  // frees memory during a call that may take long
    if (const auto* error = std::get_if<Protocol::Json::JsonRequestError>(&read)) {
        return SendText(ReaderErrorResponse(facts, *error), &Connection::OnReaderErrorSent);
    }
    auto& request = std::get<Protocol::Json::JsonRequest>(read);
    requestId = std::move(request.id);
    const auto call = std::make_shared<Call>();
    call->service = std::move(request.service);
    call->operation = std::move(request.operation);
    call->parameters = std::move(request.parameters);
    call->context.token = std::exchange(facts.token, std::nullopt);
    call->context.isAbandoned = [weak = weak_from_this()] {
        const auto self = weak.lock();
        return !self || !self->isOpen || self->stream.HasClientLeft();
    };
    const bool hasToken = services->provider->Recognize(call->context);
    idle.isVerified = hasToken;
    waitingCall = call;
    BeginWait(services->configuration.readTimeout);
    table.BoundBodies();
    if (isOpen) {  // BoundBodies may have closed this connection
        table.AwaitTurn(*this, hasToken ? Caller::Verified : Caller::Anonymous);
    }
}

void Connection::BeginCall() {
    const auto holder = shared_from_this();  // keeps this object alive if it is closed below
    Run([this] {
        if (stream.HasClientLeft()) {
            return Fail("the client disconnected before its call started");
        }
        const std::shared_ptr<Call> call = std::move(waitingCall);
        EndWait();
        isCalling = true;
        services->provider->Invoke(
            call, CallResult([weak = weak_from_this()](Outcome<Data::DataValue> outcome) {
                if (const auto self = weak.lock()) {
                    self->Run([&] { self->OnCallEnded(std::move(outcome)); });
                }
            }));
    });
}

void Connection::OnReaderErrorSent(const std::error_code& error, std::size_t) {
    if (error) {
        Log(kPerRequest, "Failed to sent Deserializer error " + Describe(error));
        return Fail(kSendFailed, error);
    }
    Log(kPerRequest, "Response head sent (Deserializer error): 200");
    FinishRequest();
}

void Connection::OnCallEnded(Outcome<Data::DataValue> outcome) {
    isCalling = false;
    answer.emplace(facts, requestId, std::move(outcome));
    tookMuchMemory = tookMuchMemory || HoldsAnswer();
    answeringSince = std::chrono::steady_clock::now();
    answerBytes = 0;
    DoSendPiece(&Connection::OnFirstPieceSent);
}

void Connection::DoSendPiece(Step step) {
    answerBytes += answer->First().size() + answer->Second().size();
    tookMuchMemory = tookMuchMemory || answerBytes > kMuchMemoryBytes;
    BeginWait(services->configuration.writeTimeout);
    if (stream.Send({answer->First(), answer->Second()}, Then(step))) {
        return (this->*step)({}, 0);
    }
    if (!HoldsPlace()) {
        table.BeginCalls();
    }
}

void Connection::OnFirstPieceSent(const std::error_code& error, std::size_t) {
    if (error) {
        Log(kPerRequest, "Failed to sent response head");
        return Fail(kSendFailed, error);
    }
    Log(kTracing, "Response head sent: 200");
    FinishPiece();
}

void Connection::OnPieceSent(const std::error_code& error, std::size_t) {
    if (error) {
        Log(kPerRequest, "Failed to sent response body " + Describe(error));
        return Fail(kSendFailed, error);
    }
    FinishPiece();
}

// Other connections get their turn between two pieces.
void Connection::FinishPiece() {
    if (!answer->IsLast()) {
        return stream.Post(
            [self = shared_from_this()] { self->Run([&] { self->ProduceNextPiece(); }); });
    }
    answer.reset();
    FinishRequest();
}

// Once the head is sent, cutting the response short is the only way to report a failure.
void Connection::ProduceNextPiece() {
    try {
        answer->Next();
    } catch (const std::exception& failure) {
        Log(kMilestone, std::string("Failed to deliver response. EC: ") + failure.what());
        return Fail(failure.what());
    }
    DoSendPiece(&Connection::OnPieceSent);
}

}  // namespace Quon::Transport::PicoHttp
