// One client: requests are read, handed to the chain of call handlers and answered, one after the
// other, until one side ends it.
//
//   head --> body --> call --> answer --+--> (kept) head
//     |        |                        |
//     +--------+--> fixed or rejection -+--> (closed) what still comes is dropped, end
//
// Each arrow that waits for the client has a deadline. How many connections there are, whose
// deadline has passed and who has to go when there are too many is connection_table.h.
#pragma once

#include "platform/http1/connection_bound.h"
#include "platform/http1/request_head.h"
#include "platform/runtime/call/call.h"
#include "platform/runtime/call/logger.h"
#include "platform/runtime/json/json_request.h"
#include "quon/transport/body_reader.h"
#include "quon/transport/call_answer.h"
#include "quon/transport/input_buffer.h"
#include "quon/transport/request_facts.h"
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

// What all connections of a server work with. Immutable.
struct ConnectionServices {
    const std::shared_ptr<AsyncApiProvider> provider;
    const std::shared_ptr<Logger> logger;
    const ServerConfiguration configuration;
    const Protocol::Json::JsonApiRequestDeserializer deserializer{
        configuration.requestSizeLimitInBytes};
};

// The thread of the I/O context. The table and every operation under way own it; a call in progress
// does not, so that it may outlive both.
class Connection : public std::enable_shared_from_this<Connection> {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;

    // `table` outlives the connection, or closes it. Throws what Stream throws.
    Connection(boost::asio::io_context& context, Sys::OwnedFd socket,
               std::shared_ptr<const ConnectionServices> services, ConnectionTable& table);

    void Start();
    // Ends it without another word. Does nothing to a closed one.
    void Close();
    // Its deadline has passed.
    void TimeOut();

    // Since when it has been waiting for its client in the present step; nothing during a call.
    const std::optional<TimePoint>& WaitingSince() const { return waitingSince; }
    // When the wait is given up; nothing during a call.
    const std::optional<TimePoint>& Deadline() const { return deadline; }
    // Whether its last call came with a valid token.
    bool IsVerified() const { return idle.isVerified; }
    // Since when it has been idle, for the bound of connections.
    const Http1::WaitingConnection& Idle() const { return idle; }
    // Memory of an unfinished body, or of a call that waits for its turn, in bytes.
    std::size_t HeldBodyBytes() const;
    // Whether a call on it is in progress, or it holds a result, more of which is to be sent than
    // the present piece.
    bool HoldsPlace() const { return isCalling || HoldsAnswer(); }
    // Whether it holds such a result whose client takes too long for it.
    bool HoldsStalledAnswer() const;

    // The turn of the call has come that waits on it.
    void BeginCall();

  private:
    using Step = void (Connection::*)(const std::error_code& error, std::size_t count);

    // Every entry from outside goes through here: not into a closed connection, and what is thrown
    // ends this connection alone.
    template <typename Action>
    void Run(const Action& action) noexcept;
    // A callback that goes on with `step`.
    Stream::OnDone Then(Step step);
    void BeginWait(std::chrono::nanoseconds timeout);
    void EndWait();
    // Sends `text`, then goes on with `step`.
    void SendText(std::string text, Step step);
    void Fail(std::string_view reason);
    void Fail(std::string_view operation, const std::error_code& error);
    void Log(LogLevel level, std::string_view text) const;
    bool HoldsAnswer() const { return answer && !answer->IsLast(); }

    // connection.cc: heads, and what follows an answer
    void DoReadHead();
    void OnHeadBytes(const std::error_code& error, std::size_t count);
    void TakeHead();
    void RefuseHead(const std::error_code& reason);
    void FinishRequest();
    void Linger();
    void DoDrop();
    void OnDropped(const std::error_code& error, std::size_t count);
    void OnLastTextSent(const std::error_code& error, std::size_t count);

    // connection_request.cc: bodies and calls
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
    ConnectionTable& table;  // used while open
    Stream stream;
    InputBuffer input;
    Http1::HeadScanner scanner;  // of the head that `input` begins with
    bool isOpen = true;
    Http1::WaitingConnection idle{.since = std::chrono::steady_clock::now()};
    std::optional<TimePoint> waitingSince;
    std::optional<TimePoint> deadline;
    std::size_t droppedBytes = 0;  // since the last answer
    bool tookMuchMemory = false;   // since it was last given back
    bool isCalling = false;

    // Of the present request.
    RequestFacts facts;
    std::optional<BodyReader> body;
    std::string requestId;  // JSON text
    std::shared_ptr<Call> waitingCall;
    std::string outgoing;
    std::optional<CallAnswer> answer;
    TimePoint answeringSince;
    std::size_t answerBytes = 0;  // so far
};

// The runtime's levels by their use here: the framework writes its level 7 - L for level L.
inline constexpr LogLevel kFailure = LogLevel::Error;     // 3
inline constexpr LogLevel kMilestone = LogLevel::Info;    // 5
inline constexpr LogLevel kPerRequest = LogLevel::Debug;  // 6
inline constexpr LogLevel kTracing = LogLevel::Trace;     // 7

// How failures of the socket are reported.
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
