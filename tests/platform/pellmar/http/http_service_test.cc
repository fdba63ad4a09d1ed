// The HTTP service over real connections: what it does with clients that are slow, silent, gone or
// greedy, and with handlers that fail. Its times are cut short, so that nothing waits for long.
#include "platform/pellmar/http/http_service.h"

#include "platform/pellmar/http/http_limits.h"
#include "platform/pellmar/http/http_service_impl.h"
#include "platform/pellmar/system/system_factory.h"
#include "support/captured_log.h"
#include "support/http_client.h"
#include "support/network_namespace.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <sys/socket.h>

namespace {

using namespace std::chrono_literals;

using Pellmar::MakeRef;
using Pellmar::Ref;
using Pellmar::Http::HttpService;
using Pellmar::Http::HttpTimes;
using Pellmar::Http::Request;
using Pellmar::Http::Response;
using Pellmar::Http::ResponseCode;
using Pellmar::Service::Logger;
using Test::CapturedLog;
using Test::HttpResponse;
using Test::RawConnection;

using PostHandler = std::function<void(const Ref<Request>&, const Ref<Response>&)>;

class Handler : public Pellmar::Http::RequestHandlerMixin, public Pellmar::ObjectImpl {
  public:
    explicit Handler(PostHandler onPost) : onPost(std::move(onPost)) {}
    void HandlePost(const Ref<Request>& request, const Ref<Response>& response) override {
        onPost(request, response);
    }

  private:
    const PostHandler onPost;
};

std::string ReadWholeBody(const Ref<Request>& request) {
    std::string body;
    char chunk[7];
    for (int count = 0; (count = request->ReadBody(chunk, sizeof(chunk))) >= 0;) {
        body.append(chunk, static_cast<std::size_t>(count));
    }
    return body;
}

void ReadAndAnswer(const Ref<Request>& request, const Ref<Response>& response) {
    (void)ReadWholeBody(request);
    response->SetStatus(ResponseCode::Ok);
    response->Complete();
}

class RunningService {
  public:
    explicit RunningService(PostHandler onPost, const HttpTimes& times = {}) {
        Test::EnterNetworkNamespace();
        const auto socket = Pellmar::System::SystemFactory::CreateServerSocket();
        socket->BindAndListen("127.0.0.1", Test::kIntakePort);
        const int least = 1;  // so that few answers fill what a client does not read; inherited
        for (const int listener : socket->GetDescriptors()) {
            (void)::setsockopt(listener, SOL_SOCKET, SO_SNDBUF, &least, sizeof(least));
        }
        service = CreateHttpSvc(socket, Logger::CreateLogger(Logger::sDefaultLogger, "Http"),
                                Pellmar::Http::GetDefaultResponseHeadersDefinitions(), times);
        service->SetHandler(MakeRef<Handler>(std::move(onPost)));
        service->Start();
    }
    ~RunningService() { service->Stop(); }
    RunningService(const RunningService&) = delete;
    RunningService& operator=(const RunningService&) = delete;

    void Stop() { service->Stop(); }

  private:
    Ref<HttpService> service;
};

const char* const kUnfinishedPost = "POST /cpu HTTP/1.1\r\nContent-Length: 10\r\n\r\nabc";
const char* const kEmptyPost = "POST /cpu HTTP/1.1\r\nContent-Length: 0\r\n\r\n";

TEST(HttpService, AnswersSlowBodiesWith408) {
    const std::pair<HttpTimes, const char*> rows[] = {
        {{.bodyStall = 1ms, .linger = 1ms}, "the client stopped sending"},
        {{.body = 1ms, .linger = 1ms}, "the client is too slow"}};
    for (const auto& [times, reason] : rows) {
        SCOPED_TRACE(reason);
        const CapturedLog log;
        const RunningService running(ReadAndAnswer, times);
        RawConnection client;
        ASSERT_TRUE(client.Send(kUnfinishedPost));
        const std::optional<HttpResponse> answer = client.ReadResponse();
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->status, 408);
        EXPECT_TRUE(answer->ClosesConnection());
        EXPECT_EQ(client.ReadUntilClosed(), "");
        EXPECT_TRUE(
            log.WaitFor(std::string("3 Http: POST /cpu failed: the body of /cpu is incomplete, 7 "
                                    "of 10 bytes are missing: ") +
                        reason));
    }
}

TEST(HttpService, ClosesAKeptConnectionThatStaysIdle) {
    const RunningService running(ReadAndAnswer, {.kept = 1ms});
    RawConnection client;
    ASSERT_TRUE(client.Send(kEmptyPost));
    EXPECT_EQ(client.ReadResponse()->status, 200);
    EXPECT_EQ(client.ReadUntilClosed(), "");
}

TEST(HttpService, ClosesAConnectionWhoseHeadIsNotFinished) {
    const RunningService running(ReadAndAnswer, {.head = 1ms});
    for (const char* bytes : {"", "POST /cpu HT"}) {
        RawConnection client;
        (void)client.Send(bytes);  // the service may have closed already
        EXPECT_EQ(client.ReadUntilClosed(), "") << bytes;
    }
}

TEST(HttpService, CutsAClientThatTakesNoAnswers) {
    const RunningService running(ReadAndAnswer, {.send = 1ms});
    RawConnection client;
    std::string many;
    for (int count = 0; count < 1000; ++count) {
        many += kEmptyPost;
    }
    while (client.Send(many)) {
    }
    RawConnection other;
    ASSERT_TRUE(other.Send(kEmptyPost));
    EXPECT_EQ(other.ReadResponse()->status, 200);
}

// Nobody is cut for its own slowness here: the one too many goes at once, the others stay.
TEST(HttpService, WaitsForABoundedNumberOfClientsThatTakeNoAnswers) {
    const CapturedLog log;
    const RunningService running(ReadAndAnswer, {.send = 1h});
    std::string many;
    for (int count = 0; count < 5000; ++count) {
        many += kEmptyPost;
    }
    std::deque<RawConnection> clients(Pellmar::Http::kMaxWaitingSends + 1);
    for (RawConnection& client : clients) {
        (void)client.Send(many);
    }
    const char* const kCut = "POST /cpu failed: cannot send the response to /cpu";
    ASSERT_TRUE(log.WaitFor(kCut));
    RawConnection other;
    ASSERT_TRUE(other.Send(kEmptyPost));
    EXPECT_EQ(other.ReadResponse()->status, 200);
    EXPECT_EQ(log.Count(kCut), 1U);
    for (RawConnection& client : clients) {
        client.Reset();
    }
}

// Unfinished posts on connections of their own, handed to the handler as far as there are places.
class Crowd {
  public:
    explicit Crowd(std::size_t count) : connections(count) {
        for (RawConnection& connection : connections) {
            connection.Send(kUnfinishedPost);
        }
    }
    std::deque<RawConnection> connections;
};

TEST(HttpService, ServesWholePostsBesideAsManyStalledOnesAsItReads) {
    const CapturedLog log;
    const RunningService running(ReadAndAnswer, {.bodyGrace = 1h});
    Crowd stalled(Pellmar::Http::kMaxBodies);
    RawConnection late;
    ASSERT_TRUE(late.Send("POST /cpu HTTP/1.1\r\nContent-Length: 3\r\n\r\n"));
    ASSERT_TRUE(log.WaitFor("256 bodies are being read, which is the limit"));
    RawConnection whole;
    ASSERT_TRUE(whole.Send(kEmptyPost));
    EXPECT_EQ(whole.ReadResponse()->status, 200);
    ASSERT_TRUE(late.Send("abc"));  // whole while it waits, so it needs no place either
    EXPECT_EQ(late.ReadResponse()->status, 200);

    RawConnection next;
    ASSERT_TRUE(next.Send("POST /cpu HTTP/1.1\r\nContent-Length: 100000\r\n\r\n"));
    ASSERT_TRUE(stalled.connections[7].Send("1234567"));  // leaves its place to `next`
    EXPECT_EQ(stalled.connections[7].ReadResponse()->status, 200);
    ASSERT_TRUE(next.Send(std::string(100'000, 'x')));
    EXPECT_EQ(next.ReadResponse()->status, 200);
}

TEST(HttpService, LetsTheSlowestBodyGiveWayWhileAnotherPostWaits) {
    const CapturedLog log;
    const RunningService running(ReadAndAnswer, {.bodyGrace = 1ms, .linger = 1ms});
    RawConnection slowest;
    ASSERT_TRUE(slowest.Send("POST /cpu HTTP/1.1\r\nContent-Length: 10\r\n\r\n"));
    Crowd stalled(Pellmar::Http::kMaxBodies - 1);
    RawConnection waits;
    ASSERT_TRUE(waits.Send(kUnfinishedPost));
    EXPECT_EQ(slowest.ReadResponse()->status, 408);
    EXPECT_EQ(slowest.ReadUntilClosed(), "");
    EXPECT_TRUE(log.WaitFor("the client is too slow while other posts wait"));
    ASSERT_TRUE(waits.Send("1234567"));
    EXPECT_EQ(waits.ReadResponse()->status, 200);
    for (RawConnection& connection : stalled.connections) {
        ASSERT_TRUE(connection.Send("1234567"));
        EXPECT_EQ(connection.ReadResponse()->status, 200);
    }
}

TEST(HttpService, AnswersAPostThatWaitsInVainForAPlace) {
    std::mutex lock;
    std::vector<Ref<Response>> unread;  // as behind another post of their name
    std::promise<void> full;
    const RunningService running(
        [&](const Ref<Request>&, const Ref<Response>& response) {
            const std::lock_guard guard(lock);
            unread.push_back(response);
            if (unread.size() == Pellmar::Http::kMaxBodies) {
                full.set_value();
            }
        },
        {.bodyStall = 1ms, .bodyGrace = 1h, .linger = 1ms});
    const Crowd crowd(Pellmar::Http::kMaxBodies);
    full.get_future().wait();
    RawConnection waits;
    ASSERT_TRUE(waits.Send(kUnfinishedPost));
    const std::optional<HttpResponse> answer = waits.ReadResponse();
    unread.clear();
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 408);
}

TEST(HttpService, AnswersOnceHoweverTheHandlerEnds) {
    const struct {
        const char* name;
        PostHandler onPost;
        int status;
        const char* line;  // that must be logged; empty: none
    } rows[] = {
        {"released without status", [](const auto&, const auto&) {}, 500, ""},
        {"released with status",
         [](const auto&, const auto& response) {
             response->SetStatus(ResponseCode::PartialContent);
         },
         206, ""},
        {"exception", [](const auto&, const auto&) { throw std::runtime_error("out of luck"); },
         500, "3 Http: POST /cpu failed: out of luck"},
        {"something else thrown", [](const auto&, const auto&) { throw 1; }, 500,
         "3 Http: POST /cpu failed with an unknown exception"},
        {"exception after the answer",
         [](const auto&, const auto& response) {
             response->Reply(ResponseCode::Ok);
             throw std::runtime_error("too late");
         },
         200, "3 Http: POST /cpu failed: too late"},
        {"answered twice",
         [](const auto&, const auto& response) {
             response->Reply(ResponseCode::BadRequest);
             response->Complete();
         },
         400, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const CapturedLog log;
        const RunningService running(row.onPost);
        RawConnection client;
        ASSERT_TRUE(client.Send(kEmptyPost));
        const std::optional<HttpResponse> answer = client.ReadResponse();
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->status, row.status);
        EXPECT_FALSE(answer->ClosesConnection());
        EXPECT_TRUE(*row.line == '\0' || log.WaitFor(row.line));
    }
}

TEST(HttpService, ClosesLingeringConnections) {
    const RunningService running(ReadAndAnswer, {.linger = 1ms});
    RawConnection client;
    ASSERT_TRUE(client.Send("rubbish\r\n\r\n"));
    EXPECT_EQ(client.ReadResponse()->status, 400);
    while (client.Send("more rubbish")) {  // until the connection is cut
    }
}

TEST(HttpService, StopsWhileAClientStalls) {
    std::promise<void> begun;
    RunningService running(
        [&](const auto& request, const auto& response) {
            begun.set_value();
            ReadAndAnswer(request, response);
        },
        {.stop = 10ms});
    RawConnection idle;
    RawConnection stalled;
    ASSERT_TRUE(stalled.Send(kUnfinishedPost));
    begun.get_future().wait();
    running.Stop();
    EXPECT_EQ(idle.ReadUntilClosed(), "");
    EXPECT_EQ(stalled.ReadUntilClosed(), "");
}

}  // namespace
