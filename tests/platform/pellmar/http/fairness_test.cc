// Whom the HTTP service serves when more clients are slow than it waits for.
#include "platform/pellmar/http/http_limits.h"
#include "platform/pellmar/http/running_service.h"
#include "support/captured_log.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <deque>
#include <future>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace HttpTest {
namespace {

using namespace std::chrono_literals;

using Test::CapturedLog;
using Test::HttpResponse;
using Test::RawConnection;

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

}  // namespace
}  // namespace HttpTest
