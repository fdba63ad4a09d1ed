// The check of the service units, against replies of a real service manager played back, and
// against others that no manager should give.
#include "checks/units.h"

#include "checks/dbus_message.h"
#include "checks/fixture_host.h"
#include "platform/sys/owned_fd.h"
#include "support/deadline.h"
#include "support/descriptors.h"
#include "support/host_directory.h"

#include <gmock/gmock.h>

#include <array>
#include <filesystem>
#include <string>
#include <string_view>
#include <thread>

#include <sys/socket.h>

namespace {

using SentrelCheck::Status;
using Test::FixtureHost;
using testing::HasSubstr;

constexpr const char* kManagerSocket = "/run/systemd/private";

// What the manager sent when bad.service, worse.service and one with a backslash had failed.
std::string RecordedReply() { return Test::ReadFile(SENTREL_TEST_DATA "/failed_services.reply"); }

// Listens at a path and gives one fixed reply to the first connection, whatever it asks.
class PlayedManager {
  public:
    PlayedManager(const std::string& path, std::string reply) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        listener = Test::BindAt(path, SOCK_STREAM);
        Test::OrThrow(::listen(listener.Get(), 1), path);
        thread = std::thread([this, reply = std::move(reply)] { Play(reply); });
    }
    ~PlayedManager() { Asked(); }

    // All that the client sent, once it has gone.
    const std::string& Asked() {
        if (thread.joinable()) {
            thread.join();
        }
        return asked;
    }

  private:
    void Play(const std::string& reply) {
        const Test::Deadline deadline;
        deadline.Await(listener.Get(), POLLIN, "the check");
        const Sys::OwnedFd client(::accept4(listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
        (void)::send(client.Get(), reply.data(), reply.size(), MSG_NOSIGNAL);
        (void)::shutdown(client.Get(), SHUT_WR);
        std::array<char, 4096> buffer{};
        ssize_t count = 0;
        while ((count = ::recv(client.Get(), buffer.data(), buffer.size(), 0)) > 0) {
            asked.append(buffer.data(), static_cast<std::size_t>(count));
        }
    }

    Sys::OwnedFd listener;
    std::string asked;
    std::thread thread;
};

SentrelCheck::Report OutcomeOf(const std::string& reply, const std::string& settingsText = "{}") {
    const FixtureHost host(
        {{"/run/systemd/system/", "a directory"}, {"/settings.json", settingsText}});
    const PlayedManager manager(host.Root() + kManagerSocket, reply);
    SentrelCheck::Settings settings(host.Root() + "/settings.json");
    SentrelCheck::Report report("units");
    Checks::CheckUnits(host.Root(), settings, report);
    return report;
}

TEST(CheckUnits, NamesTheFailedServices) {
    const SentrelCheck::Report outcome = OutcomeOf(RecordedReply());
    EXPECT_EQ(outcome.GetStatus(), Status::Warning);
    EXPECT_EQ(outcome.Reason(),
              "failed services (bad.service, worse.service, we@ird\\x2dname.service): 3 is at or "
              "above 1");
}

TEST(CheckUnits, IgnoresServicesThatMayFail) {
    const SentrelCheck::Report outcome = OutcomeOf(RecordedReply(), R"({"ignore": ["*.service"]})");
    EXPECT_EQ(outcome.GetStatus(), Status::Ok);
    EXPECT_EQ(outcome.Reason(), "no service has failed");
    EXPECT_EQ(OutcomeOf(RecordedReply(), R"({"failed": {"critical": 3}})").GetStatus(),
              Status::Error);
}

TEST(CheckUnits, AsksTheBusIfItCannotAskTheManager) {
    const FixtureHost host(::Test::HostFiles{{"/run/systemd/system/", "a directory"}});
    std::string reply = RecordedReply();
    // The reply to "Hello", which has the serial 1, comes first.
    std::string hello = reply.substr(reply.find("\r\n") + 2);
    hello.resize(16 + 8);
    hello[4] = hello[5] = 0;  // no body
    hello[12] = 8;            // one field: the reply's serial
    std::string_view field("\x05\x01u\0\x01\0\0\0", 8);
    hello.replace(16, 8, field);
    reply.insert(reply.find("\r\n") + 2, hello);
    PlayedManager bus(host.Root() + "/run/dbus/system_bus_socket", reply);
    SentrelCheck::Settings settings(host.Root() + "/none");
    SentrelCheck::Report report("units");
    Checks::CheckUnits(host.Root(), settings, report);
    EXPECT_EQ(report.GetStatus(), Status::Warning) << report.Reason();
    EXPECT_THAT(bus.Asked(), testing::AllOf(HasSubstr("Hello"), HasSubstr("ListUnitsByPatterns"),
                                            HasSubstr("org.freedesktop.systemd1\0")));
}

TEST(CheckUnits, ReportsNoneWithoutSystemd) {
    ::Test::ExpectOutcomes(Checks::CheckUnits,
                           {{"another init", {}, Status::None, "this host does not run systemd"}});
}

TEST(CheckUnits, IsUnknownWithoutAnAnswer) {
    const SentrelCheck::Report report =
        ::Test::ReportOf(Checks::CheckUnits, {{"/run/systemd/system/", "a directory"}});
    EXPECT_EQ(report.GetStatus(), Status::Unknown);
    EXPECT_THAT(report.Reason(), HasSubstr("check that `systemctl --failed` works"));
}

TEST(CheckUnits, SurvivesDamagedReplies) {
    const std::string good = RecordedReply();
    const std::size_t message = good.find("\r\n") + 2;
    for (std::size_t size = 0; size < good.size(); size += size < message + 140 ? 1 : 20) {
        EXPECT_EQ(OutcomeOf(good.substr(0, size)).GetStatus(), Status::Unknown) << size;
    }
    for (std::size_t i = message; i < message + 140; ++i) {
        std::string damaged = good;
        damaged[i] = static_cast<char>(damaged[i] ^ '\xFF');
        (void)OutcomeOf(damaged);  // some bytes have no meaning; the sanitizers watch
    }
    EXPECT_THAT(OutcomeOf("REJECTED EXTERNAL\r\n").Reason(), HasSubstr("refused to authenticate"));
    EXPECT_THAT(OutcomeOf(std::string(5000, 'x')).Reason(), HasSubstr("refused to authenticate"));
}

TEST(DbusMessage, HasTheFormOfTheProtocol) {
    Checks::MethodCall call;
    call.serial = 7;
    call.path = "/a";
    call.interface = "b.c";
    call.member = "D";
    call.lists = {{"x"}, {}};
    const std::string expected(
        "l\1\0\1\x10\0\0\0\7\0\0\0\x3A\0\0\0"  // a body of 16 bytes, serial 7, fields of 58
        "\1\1o\0\2\0\0\0/a\0\0\0\0\0\0"
        "\2\1s\0\3\0\0\0b.c\0\0\0\0\0"
        "\3\1s\0\1\0\0\0D\0\0\0\0\0\0\0"
        "\x8\1g\0\4asas\0\0\0\0\0\0\0"
        "\6\0\0\0\1\0\0\0x\0\0\0\0\0\0\0",
        16 + 64 + 16);
    EXPECT_EQ(Checks::EncodeCall(call), expected);
}

}  // namespace
