// An API server on ports of its own, whose context runs on a thread of the test, over a provider
// that answers in all the ways that a chain of call handlers can.
#pragma once

#include "platform/runtime/call/call.h"
#include "platform/runtime/call/logger.h"
#include "platform/sys/mutex.h"
#include "quon/transport/api_server.h"
#include "support/http_client.h"

#include <boost/asio/io_context.hpp>

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace Test {

// Lines as "LEVEL MESSAGE", with the framework's levels.
class RecordedLog : public Quon::Logger {
  public:
    bool IsOn(Quon::LogLevel) const noexcept override { return true; }
    void Log(Quon::LogLevel level, std::string_view text) noexcept override;

    std::vector<std::string> Lines() const;
    // Blocks until some line begins with `start`; false when that takes too long.
    bool WaitFor(std::string_view start) const { return WaitForCount(start, 1); }
    // The number after `start` on the first line that begins with it; 0 without one.
    int PortOf(std::string_view start) const;
    bool WaitForCount(std::string_view start, int count) const;

  private:
    mutable Sys::Mutex lock;
    mutable Sys::Condition changed;
    std::vector<std::string> lines GUARDED_BY(lock);
};

// Operations of the service "test":
//   size    the length of the parameters' text
//   token   the token as it was handed on, quoted; "good" verifies the connection
//   fail    the standard error not_found
//   broken  a list whose first element cannot be made
//   list    elements of 1 KiB, endless for practical purposes
//   cut     the same, but an element of the second piece cannot be made
//   hold    answers when the test says so
//   post    answers from a task of the context
class TestProvider : public Quon::AsyncApiProvider {
  public:
    explicit TestProvider(boost::asio::io_context& context) : context(context) {}

    void Invoke(std::shared_ptr<Quon::Call> call, Quon::CallResult result) override;
    std::vector<Quon::OperationId> Operations() const override { return {}; }
    bool Recognize(Quon::CallContext& call) override { return call.token == "good"; }

    // Blocks until a call is held, and hands it over: to be ended on the thread of the context, or
    // when that has gone.
    Quon::CallResult TakeHeld();

    std::atomic<std::size_t> elements = 0;  // that were made of lists

  private:
    boost::asio::io_context& context;
    Sys::Mutex lock;
    Sys::Condition changed;
    std::vector<Quon::CallResult> held GUARDED_BY(lock);
};

class RunningServer {
  public:
    // The endpoints are those of the loopback addresses, on ports that the kernel chooses.
    explicit RunningServer(Quon::Transport::PicoHttp::ServerConfiguration configuration = {});
    ~RunningServer();
    RunningServer(const RunningServer&) = delete;
    RunningServer& operator=(const RunningServer&) = delete;

    // Ends the context's thread, then the server and the context.
    void Stop();

    RawConnection Connect() const { return RawConnection(port4); }
    // All that is answered to a client that sends `request` and ends its side.
    std::string Exchange(std::string_view request) const;

    const std::shared_ptr<RecordedLog> log = std::make_shared<RecordedLog>();
    std::unique_ptr<boost::asio::io_context> context = std::make_unique<boost::asio::io_context>();
    const std::shared_ptr<TestProvider> provider = std::make_shared<TestProvider>(*context);
    int port4 = 0;
    int port6 = 0;

  private:
    std::unique_ptr<Quon::Transport::PicoHttp::AsioTcpApiServer> server;
    std::thread thread;
};

// A post of `document`; `fields` are lines with their ends.
inline std::string Post(std::string_view document, std::string_view fields = {}) {
    return PostRequest("/", document, fields);
}
// The request document of an operation of the service "test", with the id 1.
std::string Document(std::string_view operation, std::string_view parameters = "{}");

// Of the operation "size", with the end of the connection; answered by "result":2.
inline const std::string kClosingPost = Post(Document("size"), "Connection: close\r\n");
// One call on a connection that stays open.
void CallOnce(RawConnection& client, std::string_view fields = {});

}  // namespace Test
