// When calls begin that have to wait, and what becomes of those in their way.
#include "quon/transport/running_server.h"

#include <gtest/gtest.h>

#include <boost/asio/post.hpp>

#include <chrono>
#include <memory>
#include <string>
#include <utility>

namespace {

using namespace std::chrono_literals;

using ::Test::Document;
using ::Test::Post;
using ::Test::RawConnection;
using ::Test::RunningServer;

constexpr const char* kResult = "\"result\":2";

TEST(CallQueue, CutsAnUnreadAnswerWhileACallWaits) {
    const RunningServer server({.limits = {.maxCalls = 1, .answerGrace = 1ms}});
    RawConnection first = server.Connect();
    ASSERT_TRUE(first.Send(Post(Document("list"))));
    ASSERT_TRUE(server.log->WaitFor("7 Response head sent: "));
    RawConnection second = server.Connect();
    ASSERT_TRUE(second.Send(::Test::kClosingPost));
    EXPECT_NE(second.ReadUntilClosed().find(kResult), std::string::npos);
    EXPECT_TRUE(server.log->WaitFor("6 Failed to sent response body other calls are waiting"));
    EXPECT_FALSE(first.ReadUntilClosed().ends_with("0\r\n\r\n"));
}

TEST(CallQueue, StartsNoCallForAClientThatHasLeft) {
    const RunningServer server({.limits = {.maxCalls = 1}});
    RawConnection calling = server.Connect();
    ASSERT_TRUE(calling.Send(Post(Document("hold"))));
    Quon::CallResult held = server.provider->TakeHeld();
    RawConnection silent = server.Connect();
    ASSERT_TRUE(silent.Send(::Test::kClosingPost));
    silent.FinishSending();
    {
        RawConnection leaving = server.Connect();
        ASSERT_TRUE(leaving.Send(Post(Document("hold"))));
        ASSERT_TRUE(server.log->WaitForCount("6 Request received", 3));
    }
    boost::asio::post(*server.context,
                      [result = std::make_shared<Quon::CallResult>(std::move(held))] {
                          result->SetValue(Quon::Data::DataValue("done"));
                      });
    EXPECT_TRUE(server.log->WaitFor(
        "7 Handle request error: the client disconnected before its call started"));
    EXPECT_NE(silent.ReadUntilClosed().find(kResult), std::string::npos);
}

TEST(CallQueue, PacesAnonymousCallsAlone) {
    const RunningServer server({.limits = {.anonymousCallsPerSecond = 2}});
    RawConnection anonymous = server.Connect();
    RawConnection refused = server.Connect();
    RawConnection verified = server.Connect();
    const auto start = std::chrono::steady_clock::now();
    ::Test::CallOnce(anonymous);
    ::Test::CallOnce(refused, "Authorization: Bearer bad\r\n");
    ASSERT_TRUE(anonymous.Send(Post(Document("token"))));
    ASSERT_TRUE(refused.Send(Post(Document("token"), "Authorization: Bearer bad\r\n")));
    for (int calls = 0; calls < 10; ++calls) {
        ::Test::CallOnce(verified, "Authorization: Bearer good\r\n");
    }
    ASSERT_TRUE(anonymous.ReadResponse());
    ASSERT_TRUE(refused.ReadResponse());
    EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
}

}  // namespace
