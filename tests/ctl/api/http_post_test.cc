// The tool's HTTP client against servers that answer well, badly, or not at all.
#include "ctl/api/http_post.h"

#include "support/report_listener.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <future>
#include <string>

namespace CtlTest {
namespace {

using ::Test::ReportListener;

Ctl::HttpPost PostTo(const std::string& host, const ReportListener& server) {
    return {.host = host, .port = std::to_string(server.Port()), .body = "{}"};
}

TEST(HttpPost, NamesHostAndPortAsTheyAreInAUrl) {
    const struct {
        const char* host;
        const char* written;
    } rows[] = {{"127.0.0.1", "127.0.0.1"}, {"::1", "[::1]"}};
    for (const auto& row : rows) {
        ReportListener server(row.host);
        auto answer = std::async(std::launch::async,
                                 [post = PostTo(row.host, server)] { return Ctl::Send(post); });
        const std::string head = server.Receive().head;
        server.AnswerBytes("HTTP/1.1 403 Forbidden\r\nContent-Length: 2\r\n\r\nno");
        EXPECT_NE(head.find("\r\nHost: " + std::string(row.written) + ":" +
                            std::to_string(server.Port()) + "\r\n"),
                  std::string::npos)
            << head;
        const Ctl::HttpAnswer got = answer.get();
        EXPECT_EQ(got.status, 403U);
        EXPECT_EQ(got.body, "no");
    }
}

TEST(HttpPost, EndsInTimeWhenTheServerHangs) {
    const ReportListener server;  // accepts nothing
    Ctl::HttpPost post = PostTo("127.0.0.1", server);
    post.timeout = std::chrono::milliseconds(20);
    try {
        (void)Ctl::Send(post);
        ADD_FAILURE() << "there is an answer";
    } catch (const Ctl::HttpFailure& failure) {
        EXPECT_EQ(failure.ErrorNumber(), ETIMEDOUT);
    }
}

TEST(HttpPost, RefusesWhatIsNotAWholeAnswer) {
    const struct {
        const char* answer;
        const char* reason;
    } rows[] = {
        {"", "the server closed the connection without an answer"},
        {"HTTP/1.1 200 OK\r\nContent-", "the connection was closed before the answer was there"},
        {"HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nha",
         "the connection was closed before the answer was there"},
        {"220 mail ready\r\n\r\n", "the answer is no HTTP: "},
    };
    for (const auto& row : rows) {
        ReportListener server;
        auto answer = std::async(std::launch::async,
                                 [post = PostTo("127.0.0.1", server)] { return Ctl::Send(post); });
        (void)server.Receive();
        server.AnswerBytes(row.answer);
        try {
            (void)answer.get();
            ADD_FAILURE() << "taken for an answer: " << row.answer;
        } catch (const Ctl::HttpFailure& failure) {
            EXPECT_TRUE(failure.WhatHappened().starts_with(row.reason)) << failure.what();
            EXPECT_EQ(failure.ErrorNumber(), 0);
        }
    }
}

}  // namespace
}  // namespace CtlTest
