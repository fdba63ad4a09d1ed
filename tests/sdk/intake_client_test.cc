// Posting a report to an intake that takes it, refuses it, is silent, or is not there.
#include "sentrel_check/intake_client.h"

#include "support/report_listener.h"

#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <string>

namespace {

using SentrelCheck::kMaxReportBytes;
using SentrelCheck::PostError;
using SentrelCheck::PostOptions;
using SentrelCheck::PostReport;
using Test::ReportListener;
using testing::HasSubstr;

constexpr PostOptions kNoPause{std::chrono::seconds(60), std::chrono::milliseconds(0)};

// Posts on a thread of its own. Gives the error, or an empty text.
std::future<std::string> StartPost(const std::string& host, int port, std::string document = "{}",
                                   const PostOptions& options = kNoPause) {
    return std::async(std::launch::async, [=, document = std::move(document)]() -> std::string {
        try {
            PostReport({host, port}, "cpu", document, options);
            return "";
        } catch (const PostError& error) {
            return error.what();
        }
    });
}

TEST(IntakeClient, SendsAValidPost) {
    ReportListener listener;
    std::future<std::string> error = StartPost("127.0.0.1", listener.Port(), R"({"a":1})");
    const ReportListener::Post post = listener.Receive();
    listener.Answer(200);
    EXPECT_EQ(error.get(), "");
    EXPECT_EQ(post.head,
              "POST /cpu HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(listener.Port()) +
                  "\r\nContent-Type: application/json\r\nContent-Length: 7\r\n"
                  "Connection: close\r\n\r\n");
    EXPECT_EQ(post.body, R"({"a":1})");
}

TEST(IntakeClient, FindsLocalhostInBothFamilies) {
    for (const char* const loopback : {"127.0.0.1", "::1"}) {
        ReportListener listener(loopback);
        std::future<std::string> error = StartPost("localhost", listener.Port());
        (void)listener.Receive();
        listener.Answer(200);
        EXPECT_EQ(error.get(), "");
    }
}

TEST(IntakeClient, SendsTheLargestReportAndNoLarger) {
    ReportListener listener;
    const std::string largest(kMaxReportBytes, ' ');
    std::future<std::string> error = StartPost("127.0.0.1", listener.Port(), largest);
    EXPECT_EQ(listener.Receive().body.size(), kMaxReportBytes);
    listener.Answer(200);
    EXPECT_EQ(error.get(), "");
    EXPECT_THAT(StartPost("127.0.0.1", listener.Port(), largest + " ").get(),
                HasSubstr("1048577 bytes"));
}

TEST(IntakeClient, AcceptsAnswersInAnyForm) {
    const char* const answers[] = {
        "HTTP/1.1 200\r\n\r\n",
        "HTTP/1.0 200 OK\r\nServer: x\r\n\r\nsome body",
        "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\n\r\n",
    };
    for (const char* answer : answers) {
        ReportListener listener;
        std::future<std::string> error = StartPost("127.0.0.1", listener.Port());
        (void)listener.Receive();
        listener.AnswerBytes(answer);
        EXPECT_EQ(error.get(), "") << answer;
    }
}

TEST(IntakeClient, RetriesOnceWhenThatMayHelp) {
    const std::string tooLong(20000, 'x');
    const std::string answers[] = {"HTTP/1.1 500 Internal Server Error\r\n\r\n", "",
                                   "nonsense\r\n\r\n", "HTTP/1.1 abc\r\n\r\n", tooLong};
    for (const std::string& answer : answers) {
        ReportListener listener;
        std::future<std::string> error = StartPost("127.0.0.1", listener.Port());
        (void)listener.Receive();
        listener.AnswerBytes(answer);
        (void)listener.Receive();
        listener.Answer(200);
        EXPECT_EQ(error.get(), "") << answer.substr(0, 40);
    }
}

TEST(IntakeClient, GivesUpAfterTheSecondTry) {
    ReportListener listener;
    std::future<std::string> error = StartPost("127.0.0.1", listener.Port());
    for (int i = 0; i < 2; ++i) {
        (void)listener.Receive();
        listener.Answer(500);
    }
    EXPECT_THAT(error.get(), testing::AllOf(HasSubstr("two tries"), HasSubstr("answered 500"),
                                            HasSubstr("the daemon's log says why")));
}

TEST(IntakeClient, DoesNotRetryARefusedPost) {
    for (const int status : {206, 400, 404, 411, 413}) {
        ReportListener listener;
        std::future<std::string> error = StartPost("127.0.0.1", listener.Port());
        (void)listener.Receive();
        listener.Answer(status);
        EXPECT_THAT(error.get(), HasSubstr("the intake answered " + std::to_string(status)));
    }
}

TEST(IntakeClient, NamesThePortThatDoesNotAnswer) {
    int freePort = 0;
    {
        const ReportListener gone;
        freePort = gone.Port();
    }
    EXPECT_THAT(StartPost("localhost", freePort).get(),
                HasSubstr("cannot connect to 127.0.0.1 port " + std::to_string(freePort) +
                          ": Connection refused"));
}

TEST(IntakeClient, StopsWaitingForASilentIntake) {
    const ReportListener silent;  // the kernel accepts, nobody reads
    constexpr PostOptions kImpatient{std::chrono::milliseconds(40), std::chrono::milliseconds(0)};
    const std::string large(kMaxReportBytes, ' ');
    EXPECT_THAT(StartPost("127.0.0.1", silent.Port(), "{}", kImpatient).get(),
                HasSubstr("waiting for the intake's answer: no answer in time"));
    EXPECT_THAT(StartPost("127.0.0.1", silent.Port(), large, kImpatient).get(),
                HasSubstr("no answer in time"));
}

}  // namespace
