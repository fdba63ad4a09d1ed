#include "quon/transport/running_server.h"

#include "support/deadline.h"

#include <gtest/gtest.h>

#include <boost/asio/post.hpp>

#include <chrono>
#include <stdexcept>
#include <utility>

namespace Test {

namespace {

using Quon::Data::DataValue;

class Elements : public Quon::Data::ListSource {
  public:
    Elements(std::atomic<std::size_t>& made, std::size_t end) : made(made), end(end) {}

    std::size_t Size() const override { return 1'000'000; }
    DataValue At(std::size_t index) const override {
        if (index >= end) {
            throw std::runtime_error("the element is lost");
        }
        ++made;
        return DataValue(std::string(1024, 'x'));
    }

  private:
    std::atomic<std::size_t>& made;
    const std::size_t end;
};

}  // namespace

void RecordedLog::Log(Quon::LogLevel level, std::string_view text) noexcept {
    Sys::MutexLock held(lock);
    lines.push_back(std::to_string(7 - static_cast<int>(level)) + " " + std::string(text));
    changed.NotifyAll();
}

std::vector<std::string> RecordedLog::Lines() const {
    Sys::MutexLock held(lock);
    return lines;
}

bool RecordedLog::WaitForCount(std::string_view start, int count) const {
    const auto until = std::chrono::steady_clock::now() + Deadline::kPatience;
    Sys::MutexLock held(lock);
    for (std::size_t next = 0;;) {
        for (; next < lines.size(); ++next) {
            if (lines[next].starts_with(start) && --count == 0) {
                return true;
            }
        }
        if (std::chrono::steady_clock::now() >= until) {
            return false;
        }
        changed.WaitUntil(lock, until);
    }
}

int RecordedLog::PortOf(std::string_view start) const {
    for (const std::string& line : Lines()) {
        if (line.starts_with(start)) {
            return std::stoi(line.substr(start.size()));
        }
    }
    return 0;
}

void TestProvider::Invoke(std::shared_ptr<Quon::Call> call, Quon::CallResult result) {
    const auto answerList = [&](std::size_t end) {
        result.SetValue(DataValue(std::make_shared<const Elements>(elements, end)));
    };
    const std::string& operation = call->operation;
    if (operation == "size") {
        result.SetValue(DataValue(static_cast<std::int64_t>(call->parameters.size())));
    } else if (operation == "token") {
        const auto& token = call->context.token;
        result.SetValue(token ? DataValue("<" + *token + ">") : DataValue());
    } else if (operation == "fail") {
        result.SetError(Quon::Std::MakeError(Quon::Std::ErrorType::NotFound));
    } else if (operation == "broken") {
        answerList(0);
    } else if (operation == "cut") {
        answerList(100);
    } else if (operation == "list") {
        answerList(1'000'000);
    } else if (operation == "hold") {
        Sys::MutexLock locked(lock);
        held.push_back(std::move(result));
        changed.NotifyAll();
    } else {
        boost::asio::post(context,
                          [shared = std::make_shared<Quon::CallResult>(std::move(result))] {
                              shared->SetValue(DataValue("posted"));
                          });
    }
}

Quon::CallResult TestProvider::TakeHeld() {
    const auto until = std::chrono::steady_clock::now() + Deadline::kPatience;
    Sys::MutexLock locked(lock);
    while (held.empty()) {
        if (!changed.WaitUntil(lock, until)) {
            throw std::runtime_error("waited in vain for a call");
        }
    }
    Quon::CallResult taken = std::move(held.back());
    held.clear();
    return taken;
}

RunningServer::RunningServer(Quon::Transport::PicoHttp::ServerConfiguration configuration) {
    configuration.endpoint4.address = "127.0.0.1";
    configuration.endpoint6.address = "::1";
    server = std::make_unique<Quon::Transport::PicoHttp::AsioTcpApiServer>(
        *context, provider, log, std::move(configuration));
    server->Start();
    port4 = log->PortOf("5 Listening on: 127.0.0.1:");
    port6 = log->PortOf("5 Listening on: [::1]:");
    thread = std::thread([&running = *context] { running.run(); });
}

RunningServer::~RunningServer() { Stop(); }

void RunningServer::Stop() {
    if (thread.joinable()) {
        context->stop();
        thread.join();
    }
    server.reset();
    context.reset();
}

std::string RunningServer::Exchange(std::string_view request) const {
    RawConnection client = Connect();
    (void)client.Send(request);  // what the server thinks of it is in the answer
    client.FinishSending();
    return client.ReadUntilClosed();
}

std::string Document(std::string_view operation, std::string_view parameters) {
    return R"({"jsonrpc":"2.0","id":1,"method":"test.)" + std::string(operation) +
           R"(","params":)" + std::string(parameters) + "}";
}

void CallOnce(RawConnection& client, std::string_view fields) {
    ASSERT_TRUE(client.Send(Post(Document("token"), fields)));
    ASSERT_TRUE(client.ReadResponse());
}

}  // namespace Test
