// Clients that stall hold up themselves and their own report name, and nobody else.
#include "support/http_client.h"
#include "support/scenario.h"

#include <gmock/gmock.h>

#include <deque>
#include <string>
#include <string_view>

namespace {

using ::Test::HttpClient;
using ::Test::PostRequest;
using ::Test::RawConnection;
using ::Test::ReportDocument;

// A post that has begun, with the end of its body not yet sent.
struct StalledPost {
    explicit StalledPost(const std::string& name) : name(name) {
        const std::string request = PostRequest("/" + name, ReportDocument(name));
        connection.Send(std::string_view(request).substr(0, request.size() - 2));
    }

    const std::string name;
    RawConnection connection;
};

using Isolation = ::Test::Scenario;

TEST_F(Isolation, ASlowNameDelaysOnlyItself) {
    Start();
    StalledPost slow("slow");
    ASSERT_TRUE(daemon->WaitForLog("Temporary report name"));
    std::deque<RawConnection> waiting;
    for (int number = 0; number < 20; ++number) {
        waiting.emplace_back().Send(PostRequest("/slow", std::to_string(number)));
    }
    ASSERT_TRUE(daemon->WaitForLog("Retrieved report rotation", 20));
    EXPECT_EQ(HttpClient().Post("/cpu", "{}"), 200);
    EXPECT_THAT(host.ReportFiles(), testing::ElementsAre(".slow-0.json", "cpu-0.json", "cpu.json"));

    slow.connection.Send("}}");
    EXPECT_EQ(slow.connection.ReadResponse()->status, 200);
    for (RawConnection& connection : waiting) {
        EXPECT_EQ(connection.ReadResponse()->status, 200);
    }
    EXPECT_EQ(daemon->CountLog("Rotated filename: slow"), 21U);
    EXPECT_EQ(host.LinkTarget("slow"), host.ReportPath("slow-2.json"));  // 21 in a ring of 3
}

TEST_F(Isolation, TheSlowestPostsGiveWayBeyondTheBound) {
    Start();
    std::deque<StalledPost> stalled;
    for (int number = 0; number < 300; ++number) {
        stalled.emplace_back("stalled" + std::to_string(number));
    }
    EXPECT_EQ(HttpClient().Post("/cpu", ReportDocument("cpu")), 200);
    EXPECT_TRUE(daemon->WaitForLog("the client is too slow while other posts wait", 300 - 256));
    EXPECT_EQ(daemon->CountLog("bodies are being read, which is the limit"), 1U);
    EXPECT_LE(daemon->StatusValue("Threads"), 512 + 1);
    int stored = 0;
    for (StalledPost& post : stalled) {
        post.connection.Send("}}");
        const auto response = post.connection.ReadResponse();
        ASSERT_TRUE(response.has_value()) << post.name;
        EXPECT_THAT(response->status, testing::AnyOf(200, 408)) << post.name;
        if (response->status == 200) {
            EXPECT_EQ(host.Report(post.name), ReportDocument(post.name));
            ++stored;
        }
    }
    EXPECT_GT(stored, 0);
    EXPECT_EQ(daemon->Stop(), 0);
}

}  // namespace
