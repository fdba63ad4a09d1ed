// What the daemon holds does not grow with what it has served, and it outlives its log.
#include "support/descriptors.h"
#include "support/http_client.h"
#include "support/scenario.h"

#include <gtest/gtest.h>

#include <string>

#include <fcntl.h>

namespace {

using ::Test::DaemonOptions;
using ::Test::HttpClient;
using ::Test::Pipe;
using ::Test::PostRequest;
using ::Test::RawConnection;
using ::Test::ReportDocument;

class Footprint : public ::Test::Scenario {
  protected:
    // Posts reports of ten names, some refused, each on a connection that the daemon closes.
    static void PostMany(int count) {
        for (int number = 0; number < count; ++number) {
            const bool isGood = number % 4 != 0;
            RawConnection connection;
            connection.Send(PostRequest(isGood ? "/name" + std::to_string(number % 10) : "/",
                                        isGood ? ReportDocument("name", 2'000) : "",
                                        "Connection: close\r\n"));
            ASSERT_EQ(connection.ReadResponse()->status, isGood ? 200 : 206);
            ASSERT_EQ(connection.ReadUntilClosed(), "");
        }
    }

    void ExpectManyPostsAreAnswered() {
        HttpClient client;
        for (int number = 0; number < 2'000; ++number) {
            ASSERT_EQ(client.Post("/cpu", ReportDocument("cpu")), 200);
        }
        EXPECT_EQ(host.Report("cpu"), ReportDocument("cpu"));
    }
};

TEST_F(Footprint, DoesNotGrowWithTheNumberOfPosts) {
    DaemonOptions options = Options();
    options.logLevel = "3";
    Start(options);
    PostMany(1'000);
    const auto descriptors = daemon->OpenDescriptors();
    const long memory = daemon->StatusValue("VmRSS");
    PostMany(4'000);
    EXPECT_EQ(daemon->OpenDescriptors(), descriptors);
    if (!kHasAddressSanitizer && !kHasThreadSanitizer) {  // they keep memory that was freed
        EXPECT_LT(daemon->StatusValue("VmRSS"), memory + 512);
    }
}

TEST_F(Footprint, OutlivesALogThatNobodyReadsOrThatIsFull) {
    Pipe log;
    log.reader.Reset();
    const Sys::OwnedFd full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    for (const int descriptor : {log.writer.Get(), full.Get()}) {
        DaemonOptions options = Options();
        options.standardError = descriptor;
        Start(options);
        ExpectManyPostsAreAnswered();
        EXPECT_EQ(daemon->Stop(), 0);
    }
}

}  // namespace
