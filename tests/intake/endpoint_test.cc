// Where the intake listens, and until when.
#include "intake/endpoint.h"

#include "intake/running_intake.h"
#include "platform/pellmar/exceptions.h"
#include "platform/pellmar/system/server_socket.h"
#include "platform/pellmar/system/system_factory.h"

#include <string>
#include <system_error>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Pellmar::MakeRef;
using Pellmar::Ref;
using Sentrel::Endpoint;
using Test::CapturedLog;
using Test::DaemonSettings;
using Test::EnterNetworkNamespace;
using Test::HostDirectory;
using Test::HttpClient;
using Test::kIntakePort;
using Test::RawConnection;
using testing::ElementsAre;

bool Accepts(int port, const std::string& address) {
    try {
        RawConnection connection(port, address);
        return true;
    } catch (const std::system_error&) {
        return false;
    }
}

TEST(Endpoint, ListensAtTheConfiguredPortOfTheLoopbackAddressAlone) {
    EnterNetworkNamespace();
    const HostDirectory host;
    const CapturedLog log;
    const Ref<Endpoint> endpoint = MakeRef<Endpoint>();
    endpoint->Start(DaemonSettings(R"({"http_port": 12345})"), host.ReportDirectory() + "/");
    EXPECT_THAT(log.Lines(),
                ElementsAre("5 sentrelEndpoint: Initialized the HTTP endpoint",
                            "7 sentrelEndpoint: HTTP port: 12345",
                            "5 SentrelHandler: Sentrel handler initialized",
                            "5 sentrelEndpoint: HTTP endpoint listening on port: 12345"));
    EXPECT_EQ(HttpClient(12345).Post("/cpu", "{}"), 200);
    EXPECT_FALSE(Accepts(kIntakePort, "127.0.0.1"));
    EXPECT_FALSE(Accepts(12345, "127.0.0.2"));  // this host's, too
}

TEST(Endpoint, ListensAtTheDefaultPortWhenNoneIsConfigured) {
    EnterNetworkNamespace();
    const HostDirectory host;
    const CapturedLog log;
    const Ref<Endpoint> endpoint = MakeRef<Endpoint>();
    endpoint->Start(DaemonSettings(), host.ReportDirectory() + "/");
    EXPECT_THAT(log.Lines(),
                ElementsAre("5 sentrelEndpoint: Initialized the HTTP endpoint",
                            "3 sentrelEndpoint: httpPort not present. Assuming default: 9996",
                            "7 sentrelEndpoint: HTTP port: 9996",
                            "5 SentrelHandler: Sentrel handler initialized",
                            "5 sentrelEndpoint: HTTP endpoint listening on port: 9996"));
    EXPECT_EQ(HttpClient(9996).Post("/cpu", "{}"), 200);
}

TEST(Endpoint, LeavesAPortInUseToItsCaller) {
    EnterNetworkNamespace();
    const CapturedLog log;
    const auto other = Pellmar::System::SystemFactory::CreateServerSocket();
    other->BindAndListen("localhost", 12345);
    const Ref<Endpoint> endpoint = MakeRef<Endpoint>();
    EXPECT_THROW(endpoint->Start(DaemonSettings(R"({"http_port": 12345})"), ""),
                 Pellmar::IOException);
    EXPECT_FALSE(log.Contains("Sentrel handler initialized"));
    EXPECT_FALSE(log.Contains("listening on port"));
}

TEST(Endpoint, StopsListeningWhenItIsReleased) {
    EnterNetworkNamespace();
    const HostDirectory host;
    const CapturedLog log;
    Ref<Endpoint> endpoint = MakeRef<Endpoint>();
    endpoint->Start(DaemonSettings(), host.ReportDirectory() + "/");
    EXPECT_TRUE(Accepts(kIntakePort, "127.0.0.1"));
    endpoint.Reset();
    EXPECT_FALSE(Accepts(kIntakePort, "127.0.0.1"));
}

}  // namespace
