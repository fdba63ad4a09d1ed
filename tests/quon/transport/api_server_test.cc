// The server as a whole: its listeners, what it does with clients that are slow, silent, gone or
// greedy, and its end while calls are in progress.
#include "quon/transport/running_server.h"
#include "support/descriptors.h"
#include "support/sanitizers.h"

#include <gtest/gtest.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>

namespace {

using namespace std::chrono_literals;

using Quon::Transport::PicoHttp::AsioTcpApiServer;
using Quon::Transport::PicoHttp::ServerConfiguration;
using ::Test::Document;
using ::Test::Post;
using ::Test::RawConnection;
using ::Test::RunningServer;

bool IsServed(RawConnection& client) {
    return client.Send(::Test::kClosingPost) &&
           client.ReadUntilClosed().find("\"result\":2") != std::string::npos;
}

std::string PortText(int port) { return "127.0.0.1:" + std::to_string(port); }

TEST(ApiServer, ListensOnTheAddressesThatWork) {
    RunningServer taken;
    ServerConfiguration configuration{
        .endpoint4 = {"127.0.0.1", static_cast<std::uint16_t>(taken.port4)},
        .endpoint6 = {"::1", 0},
        .limits = {.bindDelay = 1ms}};
    boost::asio::io_context context;
    const auto log = std::make_shared<::Test::RecordedLog>();
    AsioTcpApiServer half(context, nullptr, log, configuration);
    EXPECT_TRUE(half.Start());
    EXPECT_EQ(log->PortOf("5 Listening on: 127.0.0.1:"), 0);
    EXPECT_NE(log->PortOf("5 Listening on: [::1]:"), 0);
    const std::string address = PortText(taken.port4);
    EXPECT_EQ(log->Lines().front(), "5 IPv4 Failed to listen on: " + address + " ec: system:98");
    EXPECT_TRUE(log->Lines().at(1).starts_with("3 The API is not served on " + address +
                                               ": Address already in use; stop the process "))
        << log->Lines().at(1);
    configuration.endpoint6.port = static_cast<std::uint16_t>(taken.port6);
    AsioTcpApiServer none(context, nullptr, log, configuration);
    EXPECT_FALSE(none.Start());
    for (int tries = 0; tries < 20; ++tries) {
        context.run_one();
    }
    EXPECT_EQ(log->Lines().size(), 7U);  // two for each failure, one for the success
    taken.Stop();
    while (log->Lines().size() < 9) {
        context.run_one();
    }
}

TEST(ApiServer, AcceptsAgainWhenThereAreDescriptors) {
    if (kHasAddressSanitizer) {
        GTEST_SKIP()
            << "the undefined-behaviour sanitizer beside it needs a pipe to look at an object";
    }
    const RunningServer server({.limits = {.acceptDelay = 1ms}});
    std::optional<::Test::LoweredLimit> bound;
    const int lowestFree = ::dup(STDERR_FILENO);
    ::close(lowestFree);
    bound.emplace(RLIMIT_NOFILE, static_cast<rlim_t>(lowestFree) + 1);
    RawConnection client = server.Connect();  // with the last descriptor
    EXPECT_TRUE(
        server.log->WaitFor("3 Accept Error: system:24 Too many open files"
                            ";DelayAcceptError.Acceptor info:" +
                            PortText(server.port4)));
    bound.reset();
    EXPECT_TRUE(IsServed(client));
}

// The listening socket of this process on that port.
int FindListener(int port) {
    for (int descriptor = 0; descriptor < 256; ++descriptor) {
        sockaddr_in address{};
        socklen_t size = sizeof(address);
        int listens = 0;
        socklen_t optionSize = sizeof(listens);
        if (::getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
            address.sin_family == AF_INET && ntohs(address.sin_port) == port &&
            ::getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &listens, &optionSize) == 0 &&
            listens != 0) {
            return descriptor;
        }
    }
    return -1;
}

TEST(ApiServer, ContinuesWithTheOtherListener) {
    const RunningServer server;
    ASSERT_EQ(::shutdown(FindListener(server.port4), SHUT_RDWR), 0);
    EXPECT_TRUE(server.log->WaitFor(
        "3 Accept Error: system:22 Invalid argument;TerminalAcceptError.Acceptor info:"));
    RawConnection client6(server.port6, "::1");
    EXPECT_TRUE(IsServed(client6));
}

TEST(ApiServer, CutsSlowClients) {
    const struct {
        const char* name;
        ServerConfiguration configuration;
        std::string sent;
    } rows[] = {
        {"sends nothing", {.readTimeout = 1ms}, ""},
        {"sends half a head", {.readTimeout = 1ms}, "POST"},
        {"sends half a body",
         {.readTimeout = 20ms},
         "POST / HTTP/1.1\r\nContent-Type: application/json\r\nContent-Length: 9\r\n\r\n{"},
        {"never reads", {.writeTimeout = 200ms}, Post(Document("list"))},
        {"never leaves", {.limits = {.linger = 1ms}}, "\r\n\r\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const RunningServer server(row.configuration);
        RawConnection client = server.Connect();
        ASSERT_TRUE(client.Send(row.sent));
        EXPECT_TRUE(server.log->WaitFor("7 Handle request error: the client is too slow: "));
        EXPECT_LT(server.provider->elements, 40'000U);  // what the sockets hold, and one piece
        (void)client.ReadUntilClosed();
    }
}

TEST(ApiServer, ClosesConnectionsWithoutARequestFirstThenTheLongestIdleWithoutAToken) {
    const RunningServer server({.limits = {.maxConnections = 3}});
    RawConnection verified = server.Connect();
    ::Test::CallOnce(verified, "Authorization: Bearer good\r\n");
    RawConnection refused = server.Connect();
    ::Test::CallOnce(refused, "Authorization: Bearer bad\r\n");
    RawConnection silent = server.Connect();
    RawConnection anonymous = server.Connect();
    ::Test::CallOnce(anonymous);
    EXPECT_EQ(silent.ReadUntilClosed(), "");
    RawConnection further = server.Connect();
    ::Test::CallOnce(further);
    EXPECT_EQ(refused.ReadUntilClosed(), "");
    EXPECT_TRUE(IsServed(verified));
    EXPECT_TRUE(IsServed(anonymous));
    EXPECT_TRUE(IsServed(further));
}

TEST(ApiServer, BoundsUnfinishedBodiesWithoutAToken) {
    const RunningServer server({.limits = {.maxUnverifiedBodyBytes = 150'000}});
    const std::string document = Document("size", "{}" + std::string(99'000, ' '));
    const std::string request = Post(document, "Expect: 100-continue\r\n");
    const std::string head = request.substr(0, request.size() - document.size());
    const auto sendMost = [&](RawConnection& client) {
        ASSERT_TRUE(client.Send(head));
        ASSERT_TRUE(client.ReadResponse());
        ASSERT_TRUE(client.Send(document.substr(0, 98'000)));
    };
    RawConnection small = server.Connect();
    ASSERT_TRUE(small.Send(::Test::kClosingPost.substr(0, ::Test::kClosingPost.size() - 1)));
    RawConnection first = server.Connect();
    sendMost(first);
    RawConnection second = server.Connect();
    sendMost(second);
    EXPECT_EQ(first.ReadUntilClosed(), "");
    ASSERT_TRUE(second.Send(document.substr(98'000)));
    second.FinishSending();
    EXPECT_NE(second.ReadUntilClosed().find("\"result\":2"), std::string::npos);
    ASSERT_TRUE(small.Send(::Test::kClosingPost.substr(::Test::kClosingPost.size() - 1)));
    EXPECT_NE(small.ReadUntilClosed().find("\"result\":2"), std::string::npos);
}

TEST(ApiServer, CutsAnAnswerThatFailsHalfway) {
    const RunningServer server;
    const std::string answer = server.Exchange(Post(Document("cut")));
    EXPECT_TRUE(answer.ends_with("\r\n"));
    EXPECT_FALSE(answer.ends_with("0\r\n\r\n"));
    EXPECT_GT(answer.size(), 64U * 1024);
    EXPECT_TRUE(server.log->WaitFor("5 Failed to deliver response. EC: the element is lost"));
}

TEST(ApiServer, EndsCallsOfClientsThatAreGone) {
    RunningServer server;
    RawConnection client = server.Connect();
    ASSERT_TRUE(client.Send(Post(Document("hold"))));
    const auto result = std::make_shared<Quon::CallResult>(server.provider->TakeHeld());
    client.Reset();
    boost::asio::post(*server.context,
                      [result] { result->SetValue(Quon::Data::DataValue("too late")); });
    EXPECT_TRUE(server.log->WaitFor("6 Failed to sent response head"));
    EXPECT_TRUE(server.log->WaitFor("7 Handle request error: quon.send.failed: "));
    RawConnection other = server.Connect();
    EXPECT_TRUE(IsServed(other));
}

TEST(ApiServer, EndsWhileCallsAreInProgress) {
    RunningServer server;
    RawConnection queued = server.Connect();
    ASSERT_TRUE(queued.Send(Post(Document("hold"))));
    const auto queuedResult = std::make_shared<Quon::CallResult>(server.provider->TakeHeld());
    RawConnection held = server.Connect();
    ASSERT_TRUE(held.Send(Post(Document("hold"))));
    Quon::CallResult heldResult = server.provider->TakeHeld();
    RawConnection sending = server.Connect();
    ASSERT_TRUE(sending.Send(Post(Document("list"))));
    EXPECT_TRUE(server.log->WaitFor("7 Response head sent: "));
    boost::asio::post(*server.context, [&context = *server.context, queuedResult] {
        context.stop();
        boost::asio::post(context, [queuedResult] {
            queuedResult->SetValue(Quon::Data::DataValue("never run"));
        });
    });
    server.Stop();
    heldResult.SetValue(Quon::Data::DataValue("too late"));
    EXPECT_FALSE(sending.Send(::Test::kClosingPost) && IsServed(sending));
}

}  // namespace
