// A client connection: reads requests, passes them to the call chain and sends the responses, one
// after the other, until one side closes it.
//
//   head --> body --> call --> answer --+--> (kept) head
//     |        |                        |
//     +--------+--> fixed or rejection -+--> (closed) what still comes is dropped, end
//
// Each arrow that waits for the client has a deadline. connection_table.h limits the number of
// connections and closes those whose deadline has passed.
#pragma once

#include "platform/http1/connection_bound.h"
#include "platform/http1/request_head.h"
#include "platform/runtime/call/call.h"
#include "platform/runtime/call/logger.h"
#include "platform/runtime/json/json_request.h"
#include "quon/transport/call_answer.h"
#include "quon/transport/message/body_reader.h"
#include "quon/transport/message/input_buffer.h"
#include "quon/transport/message/request_facts.h"
#include "quon/transport/server_configuration.h"
#include "quon/transport/stream.h"

#include <chrono>
#include <cstddef>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace Quon::Transport::PicoHttp {

class ConnectionTable;

// What all connections of a server share. Immutable.
struct ConnectionServices {
    const std::shared_ptr<AsyncApiProvider> provider;
    const std::shared_ptr<Logger> logger;
    const ServerConfiguration configuration;
    const Protocol::Json::JsonApiRequestDeserializer deserializer{
        configuration.requestSizeLimitInBytes};
};

// For the thread of the I/O context. The table and every operation in progress own it; a call in
// progress does not, so the call may outlive both.
class Connection : public std::enable_shared_from_this<Connection> {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;

    // `table` outlives the connection, or closes it. Throws what Stream's constructor throws.
    Connection(boost::asio::io_context& context, Sys::OwnedFd socket,
               std::shared_ptr<const ConnectionServices> services, ConnectionTable& table);

    void Start();
    // Closes it without sending anything. Idempotent.
    void Close();
    // Call it when the deadline has passed.
    void TimeOut();

    // Since when the current step has been waiting for the client; nothing during a call.
    const std::optional<TimePoint>& WaitingSince() const { return waitingSince; }
    // When the wait ends; nothing during a call.
    const std::optional<TimePoint>& Deadline() const { return deadline; }
    // Whether its last call carried a valid token.
    bool IsVerified() const { return idle.isVerified; }
    // The facts that decide which connection gives way at the bound.
    const Http1::WaitingConnection& Idle() const { return idle; }
    // The memory in bytes of an incomplete body, or of a call that waits for its turn.
    std::size_t HeldBodyBytes() const;
    // Whether a call is in progress, or a result has pieces left after the current one.
    bool HoldsPlace() const { return isCalling || HoldsAnswer(); }
    // Whether such a result is sent too slowly because of the client.
    bool HoldsStalledAnswer() const;

    // Starts the waiting call, whose turn has come.
    void BeginCall();

  private:
    using Step = void (Connection::*)(const std::error_code& error, std::size_t count);

    // The entry point of every callback: ignores them on a closed connection, and an exception
    // closes only this connection.
    template <typename Action>
    void Run(const Action& action) noexcept;
    // Creates a callback that continues with `step`.
    Stream::OnDone Then(Step step);
    void BeginWait(std::chrono::nanoseconds timeout);
    void EndWait();
    // Sends `text`, then continues with `step`.
    void SendText(std::string text, Step step);
    void Fail(std::string_view reason);
    void Fail(std::string_view operation, const std::error_code& error);
    void Log(LogLevel level, std::string_view text) const;
    bool HoldsAnswer() const { return answer && !answer->IsLast(); }

    // Implemented in connection.cc: heads, and what follows a response.
    void DoReadHead();
    void OnHeadBytes(const std::error_code& error, std::size_t count);
    void TakeHead();
    void RefuseHead(const std::error_code& reason);
    void FinishRequest();
    void Linger();
    void DoDrop();
    void OnDropped(const std::error_code& error, std::size_t count);
    void OnLastTextSent(const std::error_code& error, std::size_t count);

    // Implemented in connection_request.cc: bodies and calls.
    void HandleRequest();
    void OnContinueSent(const std::error_code& error, std::size_t count);
    void TakeBody();
    void DoReadBody();
    void OnBodyBytes(const std::error_code& error, std::size_t count);
    void RefuseBody(const std::error_code& reason);
    void Reject();
    void OnRejectionSent(const std::error_code& error, std::size_t count);
    void HandleDocument(std::string document);
    void OnReaderErrorSent(const std::error_code& error, std::size_t count);
    void OnCallEnded(Outcome<Data::DataValue> outcome);
    void DoSendPiece(Step step);
    void OnFirstPieceSent(const std::error_code& error, std::size_t count);
    void OnPieceSent(const std::error_code& error, std::size_t count);
    void FinishPiece();
    void ProduceNextPiece();

    const std::shared_ptr<const ConnectionServices> services;
    ConnectionTable& table;  // used only while open
    Stream stream;
    InputBuffer input;
    Http1::HeadScanner scanner;  // of the head at the front of `input`
    bool isOpen = true;
    Http1::WaitingConnection idle{.since = std::chrono::steady_clock::now()};
    std::optional<TimePoint> waitingSince;
    std::optional<TimePoint> deadline;
    std::size_t droppedBytes = 0;  // since the last response
    bool tookMuchMemory = false;   // since memory was last released
    bool isCalling = false;

    // State of the current request.
    RequestFacts facts;
    std::optional<BodyReader> body;
    std::string requestId;  // JSON text
    std::shared_ptr<Call> waitingCall;
    std::string outgoing;
    std::optional<CallAnswer> answer;
    TimePoint answeringSince;
    std::size_t answerBytes = 0;  // sent so far
};

// The framework level is 7 minus the runtime level.
inline constexpr LogLevel kFailure = LogLevel::Error;     // 3
inline constexpr LogLevel kMilestone = LogLevel::Info;    // 5
inline constexpr LogLevel kPerRequest = LogLevel::Debug;  // 6
inline constexpr LogLevel kTracing = LogLevel::Trace;     // 7

// The messages about socket failures.
inline constexpr std::string_view kReceiveFailed = "quon.recv.failed";
inline constexpr std::string_view kSendFailed = "quon.send.failed";

template <typename Action>
void Connection::Run(const Action& action) noexcept {
    if (!isOpen) {
        return;
    }
    try {
        action();
    } catch (const std::exception& failure) {
        Fail(failure.what());
    }
}

}  // namespace Quon::Transport::PicoHttp
