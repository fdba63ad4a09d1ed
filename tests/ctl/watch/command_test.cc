// "watch" against a daemon: as JSON, until a state, and on a terminal.
#include "support/descriptors.h"
#include "support/tool_host.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include <cstdlib>
#include <filesystem>
#include <string>

#include <sys/wait.h>

namespace Test {

namespace {

using Json = nlohmann::json;

class Watch : public ToolHost {
  protected:
    void SetUp() override { (void)OutputOf({"token", "init"}); }
};

Json Event(const char* event, const char* name, const Json& before, const Json& state) {
    return {{"event", event},
            {"name", name},
            {"before", before},
            {"state", state},
            {"reason", state.is_null() ? "" : "why"}};
}

struct JsonWatch : RunningShell {
    JsonWatch(const std::string& root, const std::string& options)
        : RunningShell("timeout 60 '" SENTRELCTL_PATH "' --root '" + root + "' watch --json " +
                       options) {}

    // The next line, but for its time.
    Json Next() {
        Json event = Json::parse(NextLine());
        event.erase("time");
        return event;
    }
};

TEST_F(Watch, PrintsEachChangeAsALine) {
    StartDaemon();
    Post("raid", 1);
    JsonWatch watch(host.Root(), "");
    EXPECT_EQ(watch.Next(), Event("initial", "raid", nullptr, "WARNING"));
    Post("raid", 2);
    EXPECT_EQ(watch.Next(), Event("changed", "raid", "WARNING", "ERROR"));
    Post("raid", 2, R"({"reason": "why", "disks": 1})");
    EXPECT_EQ(watch.Next(), Event("renewed", "raid", "ERROR", "ERROR"));
    Post("new", 0);
    EXPECT_EQ(watch.Next(), Event("new", "new", nullptr, "OK"));
    std::filesystem::remove(ReportDirectory() + "/new.json");
    EXPECT_EQ(watch.Next(), Event("removed", "new", "OK", nullptr));
    (void)daemon->Stop();
    EXPECT_EQ(watch.Next(), (Json{{"event", "daemon"}, {"running", false}}));
    StartDaemon();
    EXPECT_EQ(watch.Next(), (Json{{"event", "daemon"}, {"running", true}}));
}  // that nobody reads it any more ends the tool

TEST_F(Watch, UsesTheNamedApi) {
    StartDaemon();
    Post("raid", 1);
    JsonWatch watch(host.Root(), "--api http://localhost:9984");
    EXPECT_EQ(watch.Next(), Event("initial", "raid", nullptr, "WARNING"));
    Post("raid", 2);
    EXPECT_EQ(watch.Next(), Event("changed", "raid", "WARNING", "ERROR"));
}

TEST_F(Watch, WaitsForAState) {
    StartDaemon();
    Post("raid", 2);
    Post("cpu", 0);
    EXPECT_EQ(OutputOf({"watch", "CPU", "--until", "ok"}), "1 report is OK.\n");
    ExpectFailure(Run({"watch", "--until", "OK", "--timeout", "1s"}),
                  "timed out after 1 s: raid is ERROR");
    ExpectFailure(Run({"watch", "disk", "--until", "OK", "--timeout", "1s"}),
                  "\"disk\" is not stored");
    EXPECT_EQ(Run({"watch", "--timeout", "1s"}).status, 2);
    ExpectFailure(Run({"watch"}), "not a terminal; use --json");
}

TEST_F(Watch, ShowsAScreenThatFollowsChanges) {
    for (const char* columns : {"80", "200"}) {
        StartDaemon();
        const std::string command = std::string("/usr/bin/python3 '") + SENTREL_SCREEN + "' '" +
                                    SENTRELCTL_PATH + "' '" + host.Root() + "' " + columns + " " +
                                    std::to_string(daemon->GetPid());
        // NOLINTNEXTLINE(concurrency-mt-unsafe): the process has one thread
        const int status = std::system(command.c_str());
        if (WEXITSTATUS(status) == 77) {
            GTEST_SKIP() << "there is no python3-pyte";
        }
        EXPECT_EQ(status, 0) << columns;
        (void)daemon->WaitForEnd();
        std::filesystem::remove(ReportDirectory() + "/raid.json");
        std::filesystem::remove(ReportDirectory() + "/plain.json");
    }
}

}  // namespace

}  // namespace Test
