// The daemon's life as its service manager and its operator see it: command line, exit statuses,
// signals, standard descriptors, and what the log says from start to end.
#include "support/http_client.h"
#include "support/loopback.h"
#include "support/scenario.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <string>
#include <vector>

namespace {

using ::Test::DaemonOptions;
using ::Test::HttpClient;
using ::Test::ReadFile;
using ::Test::ReportDocument;
using ::Test::WriteFile;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

class StartAndStop : public ::Test::Scenario {};

TEST_F(StartAndStop, ExitsWithStatus0OnASignal) {
    for (const int signal : {SIGTERM, SIGINT}) {
        SCOPED_TRACE(signal);
        Start();
        EXPECT_EQ(HttpClient().Post("/cpu", ReportDocument("cpu")), 200);
        daemon->Send(signal);
        EXPECT_EQ(daemon->WaitForEnd(), 0);
    }
}

TEST_F(StartAndStop, FeedsTheWatchdogAndTellsThatItStops) {
    DaemonOptions options = Options();
    options.preparation = "export WATCHDOG_USEC=20000";
    Start(options);
    for (int fed = 0; fed < 2;) {
        const std::string told = daemon->NextNotification();
        ASSERT_NE(told, "");
        fed += told == "WATCHDOG=1" ? 1 : 0;
    }
    daemon->Send(SIGTERM);
    std::string all;
    for (std::string told; !(told = daemon->NextNotification()).empty();) {
        all += told + "\n";
    }
    EXPECT_THAT(all, HasSubstr("STOPPING=1\n"));
}

TEST_F(StartAndStop, LogsAHangUpAndContinues) {
    Start();
    for (const std::size_t hangUps : {1U, 2U}) {
        daemon->Send(SIGHUP);
        EXPECT_TRUE(daemon->WaitForLog("sentrel: SIGHUP is ignored", hangUps));
    }
    EXPECT_EQ(HttpClient().Post("/cpu", ReportDocument("cpu")), 200);
    EXPECT_EQ(daemon->Stop(), 0);
}

TEST_F(StartAndStop, ObeysASignalDuringTheStart) {
    DaemonOptions options = Options();
    options.startWithPendingStop = true;
    daemon.emplace(options);
    EXPECT_EQ(daemon->WaitForEnd(), 0);
    EXPECT_THAT(daemon->LogLines(),
                Contains("5 sentrelEndpoint: HTTP endpoint listening on port: 9996"));
}

TEST_F(StartAndStop, LogsEachStepOfTheStart) {
    Start();
    EXPECT_THAT(LogFrom(0, "6 sentrel: "),
                ElementsAre("6 sentrel: Report directory is " + host.ReportDirectory() + "/"));
    std::vector<std::string> intake;
    for (const std::string& line : daemon->LogLines()) {
        if (line.find(" sentrelEndpoint: ") == 1 || line.find(" SentrelHandler: ") == 1) {
            intake.push_back(line);
        }
    }
    EXPECT_THAT(intake,
                ElementsAre("5 sentrelEndpoint: Initialized the HTTP endpoint",
                            "3 sentrelEndpoint: httpPort not present. Assuming default: 9996",
                            "7 sentrelEndpoint: HTTP port: 9996",
                            "5 SentrelHandler: Sentrel handler initialized",
                            "5 sentrelEndpoint: HTTP endpoint listening on port: 9996"));
}

TEST_F(StartAndStop, NormalisesTheReportDirectory) {
    struct Case {
        std::vector<std::string> arguments;
        std::vector<std::string> directories;
    };
    const std::vector<Case> cases = {
        {{"-r", "./reports"}, {"./reports/"}},
        {{"-r./reports"}, {"./reports/"}},
        {{"-r", "first", "-r", "./reports"}, {"first/", "./reports/"}},
        {{"operand", "-r", "./reports", "--"}, {"./reports/"}},
        {{"-r", ""}, {"/"}},
    };
    for (const auto& [arguments, directories] : cases) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        DaemonOptions options = Options();
        options.arguments = arguments;
        options.preparation = "cd " + host.Base();
        Start(options);
        std::vector<std::string> lines;
        for (const std::string& directory : directories) {
            lines.push_back("6 sentrel: Report directory is " + directory);
        }
        EXPECT_EQ(LogFrom(0, "6 sentrel: Report directory"), lines);
        if (directories.back() == "./reports/") {
            const std::size_t before = host.ReportFiles().size();
            EXPECT_EQ(HttpClient().Post("/" + std::to_string(before), "{}"), 200);
            EXPECT_GT(host.ReportFiles().size(), before);
        }
        EXPECT_EQ(daemon->Stop(), 0);
    }
}

TEST_F(StartAndStop, RefusesUnknownOptions) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"-x"}, "invalid option -- 'x'"},
        {{"--verbose"}, "invalid option -- '-'"},
        {{"-r"}, "option requires an argument -- 'r'"},
    };
    for (const auto& [arguments, diagnostic] : cases) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        DaemonOptions options = Options();
        options.arguments = arguments;
        daemon.emplace(options);
        EXPECT_EQ(daemon->WaitForEnd(), 1);
        EXPECT_THAT(daemon->Log(), HasSubstr(options.program + ": " + diagnostic));
        EXPECT_EQ(daemon->CountLog("endpoint"), 0U);
    }
}

TEST_F(StartAndStop, RefusesARelativeRoot) {
    DaemonOptions options = Options();
    options.root = "host";
    daemon.emplace(options);
    EXPECT_EQ(daemon->WaitForEnd(), 1);
    EXPECT_THAT(daemon->LogLines(), ElementsAre(StartsWith("Initializing FSS/Pellmar failed: ")));
    EXPECT_THAT(daemon->Log(), HasSubstr("SENTREL_ROOT"));

    options.logsToJournal = true;
    daemon.emplace(options);
    EXPECT_EQ(daemon->WaitForEnd(), 1);
    EXPECT_THAT(daemon->Log(), StartsWith("<3>Initializing FSS/Pellmar failed: "));
}

TEST_F(StartAndStop, OpensDevNullOnClosedStandardDescriptors) {
    DaemonOptions options = Options();
    options.preparation = "exec <&- >&- 2>&-";
    Start(options);
    EXPECT_EQ(HttpClient().Post("/cpu", ReportDocument("cpu")), 200);
    const auto open = daemon->OpenDescriptors();
    for (const int descriptor : {0, 1, 2}) {
        EXPECT_THAT(open, Contains(testing::Pair(descriptor, "/dev/null")));
    }
    EXPECT_EQ(host.Report("cpu"), ReportDocument("cpu"));
    EXPECT_EQ(daemon->Stop(), 0);
}

TEST_F(StartAndStop, TakesItsLogLevelFromTheEnvironmentThenTheStore) {
    struct Case {
        const char* variable;
        const char* entry;
        std::vector<int> levels;  // of the lines of start, post and end
        std::size_t complaints;
    };
    const std::vector<Case> cases = {
        {"", "{}", {3, 5}, 0},
        {"", R"({"log": {"level": 6}})", {3, 5, 6}, 0},
        {"3", R"({"log": {"level": 6}})", {3}, 0},
        {"7", "{}", {3, 5, 6, 7}, 0},
        {"loud", R"({"log": {"level": 6}})", {3, 5, 6}, 1},
        {"99999999999", "{}", {3, 5}, 1},
    };
    for (const auto& [variable, entry, levels, complaints] : cases) {
        SCOPED_TRACE(std::string(variable) + " over " + entry);
        host.WriteStoreEntry("pellmar", entry);
        DaemonOptions options = Options();
        options.logLevel = variable;
        Start(options);
        EXPECT_EQ(HttpClient().Post("/cpu", "{}"), 200);
        EXPECT_EQ(daemon->Stop(), 0);
        for (const int level : {3, 5, 6, 7}) {
            const bool expected = std::count(levels.begin(), levels.end(), level) > 0;
            EXPECT_EQ(!LogFrom(0, std::to_string(level) + " ").empty(), expected) << level;
        }
        EXPECT_EQ(daemon->CountLog("SENTREL_LOG_LEVEL"), complaints);
    }
}

TEST_F(StartAndStop, RunsWithoutListenersOfTheApi) {
    const Sys::OwnedFd taken4 = ::Test::ListenAt("127.0.0.1", 9984);
    const Sys::OwnedFd taken6 = ::Test::ListenAt("::1", 9984);
    Start();
    EXPECT_THAT(LogFrom(0, "5 sentrelquonEndpoint: IPv"), SizeIs(2));
    EXPECT_EQ(daemon->CountLog("sentrelquonEndpoint: Running IO service."), 1U);
    EXPECT_EQ(HttpClient().Post("/cpu", ReportDocument("cpu")), 200);
}

TEST_F(StartAndStop, LogsTheApisStartAndEndInOrder) {
    Start();
    EXPECT_EQ(daemon->Stop(), 0);
    std::vector<std::string> lines = LogFrom(0, "5 sentrelquonEndpoint");
    const std::vector<std::string> last = LogFrom(0, "5 sentrel: quon");
    lines.insert(lines.end(), last.begin(), last.end());
    const std::string file = ::Test::kMetadataPath;
    const std::string from = " metadata com.korvex.oru.observability from " + file;
    EXPECT_THAT(lines, ElementsAre("5 sentrelquonEndpoint: Initialized the HTTP quon endpoint",
                                   "5 sentrelquonEndpoint: Loading CLI" + from,
                                   "5 sentrelquonEndpoint: Loading Model" + from,
                                   "5 sentrelquonEndpoint: Loading Authn" + from,
                                   "5 sentrelquonEndpoint: Publishing reports from: " +
                                       host.ReportDirectory() + "/",
                                   "5 sentrelquonEndpoint: Starting quon endpoint at 9984",
                                   "5 sentrelquonEndpoint: Listening on: 127.0.0.1:9984",
                                   "5 sentrelquonEndpoint: Listening on: [::1]:9984",
                                   "5 sentrelquonEndpoint: Running IO service.",
                                   "5 sentrelquonEndpoint: quon endpoint stopped",
                                   "5 sentrel: quon endpoint started at 9984"));
    EXPECT_THAT(LogFrom(0, "5 AuthzHandler"),
                ElementsAre("5 AuthzHandler: Loading authz metadata file:" + file));
}

TEST_F(StartAndStop, DoesNotStartOnMetadataThatItCannotUse) {
    const std::string path = host.Root() + ::Test::kMetadataPath;
    const nlohmann::json good = nlohmann::json::parse(ReadFile(path));
    const auto without = [&good](const char* section) {
        nlohmann::json document = good;
        document.erase(section);
        return document.dump();
    };
    struct Row {
        const char* name;
        std::string text;
        const char* failure;
        const char* panic;
    };
    const Row rows[] = {
        {"no JSON", "{", "sentrelquonEndpoint: Failed to load cli metadata", ":383"},
        {"no cli section", without("cli"), "sentrelquonEndpoint: Failed to load cli metadata",
         ":383"},
        {"no model section", without("metamodel"),
         "sentrelquonEndpoint: Failed to load Metamodel metadata", ":389"},
        {"no authn section", without("authentication"),
         "sentrelquonEndpoint: Failed to load authentication metadata", ":396"},
        {"no authz section", without("authorization"),
         "sentrelquonEndpoint: Failed to load authorization metadata", ":298"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        WriteFile(path, row.text);
        daemon.emplace(Options());
        EXPECT_EQ(daemon->WaitForEnd(), -SIGABRT);
        EXPECT_EQ(daemon->CountLog(row.failure), 1U) << daemon->Log();
        EXPECT_EQ(daemon->CountLog(std::string("VERIFY apps/sentrel/quon/endpoint") + row.panic),
                  1U);
    }
}

}  // namespace
