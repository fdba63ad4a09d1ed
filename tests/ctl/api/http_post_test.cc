// The tool's HTTP client against servers that answer well, badly, or not at all.
#include "ctl/api/http_post.h"
#include "ctl/api/client.h"

#include "ctl/host/port_holder.h"
#include "support/report_listener.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <array>
#include <cerrno>
#include <chrono>
#include <future>
#include <stdexcept>
#include <string>

#include <sys/fsuid.h>
#include <sys/prctl.h>
#include <unistd.h>

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
    for (auto* bound : {&post.silence, &post.timeout}) {
        *bound = std::chrono::milliseconds(20);
        try {
            (void)Ctl::Send(post);
            ADD_FAILURE() << "there is an answer";
        } catch (const Ctl::HttpFailure& failure) {
            EXPECT_EQ(failure.ErrorNumber(), ETIMEDOUT);
        }
    }
    std::array<char, 16> name{};
    (void)::prctl(PR_GET_NAME, name.data());
    (void)::prctl(PR_SET_NAME, "sentrel");
    Ctl::ApiClient client("http://127.0.0.1:" + post.port, Ctl::TokenSource(), post.timeout);
    try {
        (void)client.Call("a.b", nlohmann::ordered_json::object());
        ADD_FAILURE() << "there is an answer";
    } catch (const Ctl::Failure& failure) {  // a start would change nothing
        EXPECT_EQ(failure.Advice().find("restart sentrel"), 0U) << failure.what();
    }
    (void)::prctl(PR_SET_NAME, name.data());
}

TEST(HttpPost, SendsNothingToAnotherUsersProgram) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can listen as another user";
    }
    constexpr uid_t kNobody = 65534;
    (void)::setfsuid(kNobody);  // whose sockets this thread makes
    ReportListener server;
    (void)::setfsuid(0);
    try {
        (void)Ctl::Send(PostTo("127.0.0.1", server));
        ADD_FAILURE() << "it was believed";
    } catch (const Ctl::UntrustedListener& failure) {
        const std::string expected = "port " + std::to_string(server.Port()) +
                                     " of 127.0.0.1 is held by process " +
                                     std::to_string(::getpid()) + " (";
        EXPECT_TRUE(failure.WhatHappened().starts_with(expected)) << failure.what();
    }
    EXPECT_THROW((void)server.Receive(), std::runtime_error);  // no byte came
}

TEST(HttpPost, RefusesIncompleteAnswers) {
    const struct {
        const char* answer;
        const char* reason;
    } rows[] = {
        {"", "the server closed the connection without an answer"},
        {"HTTP/1.1 200 OK\r\nContent-", "the connection was closed before the answer was complete"},
        {"HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nha",
         "the connection was closed before the answer was complete"},
        {"220 mail ready\r\n\r\n", "the answer is not HTTP: "},
        {"HTTP/1.1 200 OK\r\nContent-Length: 201326593\r\n\r\n",
         "the answer is longer than 192.0 MiB"},
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
