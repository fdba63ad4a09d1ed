// What the daemon holds does not grow with what it has served, and where its log goes never holds
// it up.
#include "support/http_client.h"
#include "system/scenario.h"

#include <gmock/gmock.h>

#include <array>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace {

using ::Test::DaemonOptions;
using ::Test::HttpClient;
using ::Test::PostRequest;
using ::Test::RawConnection;
using ::Test::ReportDocument;
using testing::HasSubstr;

struct Pipe {
    Pipe() {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        reader.Reset(ends[0]);
        writer.Reset(ends[1]);
    }

    Sys::OwnedFd reader;
    Sys::OwnedFd writer;
};

class Footprint : public Scenario {
  protected:
    // Posts reports of ten names, some refused, each on a connection that the daemon closes.
    static void PostMany(int count) {
        for (int number = 0; number < count; ++number) {
            const bool isGood = number % 4 != 0;
            RawConnection connection;
            std::string request = PostRequest(isGood ? "/name" + std::to_string(number % 10) : "/",
                                              isGood ? ReportDocument("name", 2'000) : "");
            request.insert(request.find("Host"), "Connection: close\r\n");
            connection.Send(request);
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

TEST_F(Footprint, DoesNotWaitForTheReaderOfItsLog) {
    Pipe log;
    DaemonOptions options = Options();
    options.standardError = log.writer.Get();
    Start(options);
    ExpectManyPostsAreAnswered();

    // The pipe is full by now. Once it is read, the next line says what was lost.
    const int flags = ::fcntl(log.reader.Get(), F_GETFL);
    ASSERT_EQ(::fcntl(log.reader.Get(), F_SETFL, flags | O_NONBLOCK), 0);
    std::string text;
    std::array<char, 65'536> buffer{};
    const auto readAll = [&] {
        ssize_t count = 0;
        while ((count = ::read(log.reader.Get(), buffer.data(), buffer.size())) > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(count));
        }
    };
    readAll();
    EXPECT_EQ(HttpClient().Post("/cpu", "{}"), 200);
    readAll();
    EXPECT_THAT(text, HasSubstr("lines dropped"));
    EXPECT_EQ(daemon->Stop(), 0);
}

TEST_F(Footprint, OutlivesTheReaderOfItsLog) {
    Pipe log;
    DaemonOptions options = Options();
    options.standardError = log.writer.Get();
    Start(options);
    log.reader.Reset();
    ExpectManyPostsAreAnswered();
    EXPECT_EQ(daemon->Stop(), 0);
}

TEST_F(Footprint, OutlivesALogThatIsFull) {
    const Sys::OwnedFd full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    ASSERT_TRUE(full.IsOpen());
    DaemonOptions options = Options();
    options.standardError = full.Get();
    Start(options);
    ExpectManyPostsAreAnswered();
    EXPECT_EQ(daemon->Stop(), 0);
}

}  // namespace
