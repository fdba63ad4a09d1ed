// The HTTP service over real connections: what it does with clients that are slow, silent, gone or
// greedy, and with handlers that fail. Its times are cut short, so that nothing waits for long.
#include "platform/pellmar/http/http_limits.h"
#include "platform/pellmar/http/running_service.h"
#include "support/captured_log.h"

#include <gtest/gtest.h>

#include <deque>
#include <future>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace HttpTest {
namespace {

using namespace std::chrono_literals;

using Test::CapturedLog;
using Test::HttpResponse;
using Test::RawConnection;

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
}  // namespace HttpTest
