// Requests that break off, dribble, hold what no request may hold, or never come: nothing is stored
// that was not wholly received, no answer comes twice, and the next good post is served.
#include "support/http_client.h"
#include "support/scenario.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include <sys/resource.h>

namespace {

using ::Test::DaemonOptions;
using ::Test::HttpClient;
using ::Test::PostRequest;
using ::Test::RawConnection;
using ::Test::ReportDocument;
using testing::ElementsAre;
using testing::StartsWith;

class BadInput : public ::Test::Scenario {
  protected:
    void ExpectAGoodPostWorks() {
        EXPECT_EQ(HttpClient().Post("/good", ReportDocument("good")), 200);
        EXPECT_EQ(host.Report("good"), ReportDocument("good"));
        EXPECT_TRUE(daemon->IsRunning());
    }

    bool HasVisibleReports() const {
        const std::vector<std::string> files = host.ReportFiles();
        return std::any_of(files.begin(), files.end(),
                           [](const std::string& name) { return name[0] != '.'; });
    }
};

// Opens that many connections, and lets this process have as many descriptors.
std::deque<RawConnection> OpenConnections(std::size_t count) {
    rlimit limit{};
    EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur =
        std::min<rlim_t>(std::max<rlim_t>(limit.rlim_cur, count + 256), limit.rlim_max);
    EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    std::deque<RawConnection> connections;
    for (std::size_t index = 0; index < count; ++index) {
        connections.emplace_back();
    }
    return connections;
}

TEST_F(BadInput, StoresNothingOfARequestThatIsCutAnywhere) {
    const std::string request = PostRequest("/cut", ReportDocument("cut"));
    Start();
    for (std::size_t length = 0; length <= request.size(); ++length) {
        SCOPED_TRACE(length);
        RawConnection connection;
        connection.Send(std::string_view(request).substr(0, length));
        connection.FinishSending();
        const bool isWhole = length == request.size();
        ASSERT_EQ(connection.ReadUntilClosed().substr(0, 12), isWhole ? "HTTP/1.1 200" : "");
        ASSERT_EQ(HasVisibleReports(), isWhole);
    }
    ExpectAGoodPostWorks();
}

TEST_F(BadInput, StoresNothingOfABodyThatEndsWithAReset) {
    const std::string request = PostRequest("/cut", ReportDocument("cut", 100'000));
    Start();
    for (const std::size_t missing : {1U, 100U, 50'000U, 100'000U}) {
        RawConnection connection;
        connection.Send(std::string_view(request).substr(0, request.size() - missing));
        connection.Reset();
    }
    EXPECT_EQ(HttpClient().Post("/cut", "{}"), 200);
    EXPECT_EQ(host.Report("cut"), "{}");
    const std::vector<std::string> files = host.ReportFiles();
    EXPECT_EQ(std::count_if(files.begin(), files.end(),
                            [](const std::string& name) { return name[0] != '.'; }),
              2)
        << testing::PrintToString(files);
}

TEST_F(BadInput, RefusesRequestsOfForeignWebPages) {
    Start();
    for (const char* const origin :
         {"null", "", "http://evil.example", "http://localhost\r\nOrigin: http://evil.example",
          "http://localhost:3000"}) {
        SCOPED_TRACE(origin);
        RawConnection connection;
        connection.Send(PostRequest("/page", "{}", std::string("Origin: ") + origin + "\r\n"));
        const auto response = connection.ReadResponse();
        ASSERT_TRUE(response.has_value());
        const bool isForeign = std::string_view(origin) != "http://localhost:3000";
        EXPECT_EQ(response->status, isForeign ? 403 : 200);
        EXPECT_EQ(response->ClosesConnection(), isForeign);
        EXPECT_EQ(host.ReportFiles().empty(), isForeign);
    }
}

TEST_F(BadInput, RefusesMalformedHeads) {
    const std::string manyFields = [] {
        std::string fields;
        for (int count = 0; count < 101; ++count) {
            fields += "a: b\r\n";
        }
        return fields;
    }();
    const struct {
        const char* name;
        std::string bytes;
        int status;
    } rows[] = {
        {"no version", "POST /cpu\r\n\r\n", 400},
        {"hello of TLS", std::string("\x16\x03\x01\x02\0\x01\0\x01\xFC", 9), 400},
        {"too many fields", "POST /cpu HTTP/1.1\r\n" + manyFields + "\r\n", 400},
        {"endless field", "POST /cpu HTTP/1.1\r\na: " + std::string(1'000'000, 'b'), 431},
        {"long target", "POST /" + std::string(16'384, 'a') + " HTTP/1.1\r\n\r\n", 431},
    };
    Start();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        RawConnection connection;
        connection.Send(row.bytes);
        const auto response = connection.ReadResponse();
        ASSERT_TRUE(response.has_value());
        EXPECT_EQ(response->status, row.status);
        EXPECT_TRUE(response->ClosesConnection());
        EXPECT_EQ(connection.ReadUntilClosed(), "");
    }
    ExpectAGoodPostWorks();
}

TEST_F(BadInput, WritesEveryMessageOnOneLine) {
    Start();
    RawConnection connection;
    connection.Send("POST /cpu HTTP/1.1\r\nContent-Type: a\tb \xC2\x85\xE2\x80\xA8 c\r\n\r\n");
    EXPECT_EQ(connection.ReadResponse()->status, 400);
    EXPECT_THAT(
        LogFrom(0, "3 SentrelHandler"),
        ElementsAre(StartsWith("3 SentrelHandler: Unsupported content type received a\\x09b")));
    for (const std::string& line : daemon->LogLines()) {
        EXPECT_THAT(line, testing::MatchesRegex("[3-7] [a-zA-Z]+: .*"));
        EXPECT_TRUE(std::none_of(line.begin(), line.end(), [](char byte) {
            return (byte >= 0 && byte < ' ') || byte == '\x7F';
        })) << line;
    }
}

TEST_F(BadInput, KeepsClientsThatPostAmongThousandsOfSilentConnections) {
    DaemonOptions options = Options();
    options.preparation = "ulimit -n 1024";
    Start(options);
    HttpClient kept;
    EXPECT_EQ(kept.Post("/kept", "{}"), 200);
    std::deque<RawConnection> silent = OpenConnections(2'000);
    EXPECT_EQ(silent.front().ReadUntilClosed(), "");
    EXPECT_EQ(kept.Post("/kept", "{}"), 200);
    ExpectAGoodPostWorks();
    EXPECT_TRUE(daemon->WaitForLog("connections are open, which is the limit"));
    silent.clear();
    ExpectAGoodPostWorks();
    EXPECT_EQ(daemon->CountLog("connections are open, which is the limit"), 1U);
    EXPECT_EQ(daemon->Stop(), 0);
}

TEST_F(BadInput, AcceptsAgainAfterItsDescriptorsRanOut) {
    if (kHasAddressSanitizer) {
        GTEST_SKIP()
            << "the undefined-behaviour sanitizer beside it needs a pipe to look at an object";
    }
    DaemonOptions options = Options();
    options.preparation = "ulimit -n 40";
    Start(options);
    std::deque<RawConnection> silent = OpenConnections(200);
    EXPECT_TRUE(daemon->WaitForLog("Cannot accept a connection"));
    silent.clear();
    // Until the daemon has seen all ends, a post may still find no descriptor for its file.
    int status = 0;
    for (int attempt = 0; attempt < 1'000 && status != 200; ++attempt) {
        status = HttpClient().Post("/good", ReportDocument("good"));
    }
    EXPECT_EQ(status, 200);
    ExpectAGoodPostWorks();
}

}  // namespace
