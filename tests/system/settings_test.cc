// The daemon's entry of the configuration store: the intake port in all its values, and a store
// that can't be read.
#include "support/http_client.h"
#include "support/loopback.h"
#include "support/scenario.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using ::Test::HttpClient;
using ::Test::PostRequest;
using ::Test::RawConnection;
using ::Test::WriteFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class Settings : public ::Test::Scenario {
  protected:
    // Starts the daemon and expects that it ends with status 1. Gives its log.
    std::vector<std::string> LogOfFailedStart() {
        daemon.emplace(Options());
        EXPECT_EQ(daemon->WaitForEnd(), 1);
        return daemon->LogLines();
    }
    void ExpectFailedStartAt(const std::string& port) {
        const std::vector<std::string> log = LogOfFailedStart();
        ASSERT_FALSE(log.empty());
        EXPECT_THAT(log.back(), StartsWith("3 sentrel: Exiting due to exception: "));
        EXPECT_THAT(log.back(), HasSubstr(port));
    }
};

constexpr const char* kLoopbackAddresses[] = {"127.0.0.1", "::1"};

TEST_F(Settings, ListensOnEveryLoopbackAddressAndOnNoOther) {
    Start();
    for (const char* const address : kLoopbackAddresses) {
        SCOPED_TRACE(address);
        RawConnection connection(9996, address);
        connection.Send(PostRequest("/cpu", "{}"));
        const auto response = connection.ReadResponse();
        ASSERT_TRUE(response.has_value());
        EXPECT_EQ(response->status, 200);
    }
    EXPECT_THROW(RawConnection(9996, "127.0.0.2"), std::system_error);
}

TEST_F(Settings, TakesThePortFromTheHostThenTheVendor) {
    host.WriteVendorEntry("sentrel", "{\"http_port\": 12345} // the vendor's\n");
    Start();
    EXPECT_EQ(HttpClient(12345).Post("/cpu", "{}"), 200);
    EXPECT_THAT(LogFrom(0, "3 sentrelEndpoint: "), IsEmpty());
    EXPECT_EQ(daemon->Stop(), 0);

    host.WriteStoreEntry("sentrel", R"({"http_port": 12346})");
    Start();
    EXPECT_EQ(HttpClient(12346).Post("/cpu", "{}"), 200);
    EXPECT_THROW(RawConnection(12345), std::system_error);
}

TEST_F(Settings, BoundTheNumberOfForeignReportNames) {
    host.WriteStoreEntry("sentrel", R"({"http_port": 9996, "max_report_names": 2})");
    host.WriteVendorEntry("beat", "{}");
    WriteFile(host.Root() + "/usr/lib/korvex/sentrel/plugins/bin/beat", "");
    Start();
    const struct {
        std::string name;
        int status;
    } rows[] = {
        {std::string(300, 'n'), 500},  // no file can be called that, so it counts for nothing
        {"one", 200},
        {"two", 200},
        {"three", 500},
        {"beat", 200},
        {"beat.left", 200},
        {"beats", 500},
        {"one", 200},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(HttpClient().Post("/" + row.name, "{}"), row.status) << row.name;
    }
    const std::string directory = host.ReportDirectory() + "/";
    EXPECT_THAT(LogFrom(0, "3 SentrelHandler: Error"),
                testing::Each("3 SentrelHandler: Error opening directory " + directory +
                              ": all 2 report names are in use; raise max_report_names"));
    EXPECT_EQ(daemon->CountLog("raise max_report_names"), 2U);
}

TEST_F(Settings, PreventTheStartWhenThePortCannotBeBound) {
    for (const char* const port : {"0", "70000", "-1", "75532"}) {
        SCOPED_TRACE(port);
        host.WriteStoreEntry("sentrel", std::string("{\"http_port\": ") + port + "}");
        ExpectFailedStartAt(port);
    }
}

TEST_F(Settings, PreventTheStartWhenThePortIsTakenOnAnyAddress) {
    for (const char* const address : kLoopbackAddresses) {
        SCOPED_TRACE(address);
        const Sys::OwnedFd taken = ::Test::ListenAt(address, 9996);
        ExpectFailedStartAt("9996");
        EXPECT_EQ(daemon->CountLog("listening on port"), 0U);
    }
}

TEST_F(Settings, PreventTheStartWhenAnEntryIsBroken) {
    struct Case {
        const char* key;
        const char* text;
        const char* place;  // line and column, where there is one
    };
    const std::vector<Case> cases = {
        {"sentrel", "{\n  \"http_port\": }\n", ":2:16: "},
        {"sentrel", "[]", ""},
        {"pellmar", "{\n\n\"log\": {\"level\": 7}},\n}", ":3:"},
    };
    for (const auto& [key, text, place] : cases) {
        SCOPED_TRACE(std::string(key) + ": " + text);
        const std::string file = host.WriteStoreEntry(key, text);
        const std::string hostPath = file.substr(host.Root().size());
        EXPECT_THAT(LogOfFailedStart(),
                    ElementsAre(testing::AllOf(StartsWith("Initializing FSS/Pellmar failed: "),
                                               HasSubstr(hostPath + place))));
        std::filesystem::remove(file);
    }
}

}  // namespace
