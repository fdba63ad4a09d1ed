// "status", "get" and "page" against a daemon.
#include "support/http_client.h"
#include "support/stored_report.h"
#include "support/tool_host.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Test {

namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using Json = nlohmann::json;

constexpr const char* kMetrics = R"({"reason": "full", "metrics": {
    "used": {"value": 91.2, "unit": "%", "warning": 80, "critical": 90}, "mounts": 4},
    "disks": {"sda": "active", "parts": [1, {"x": 2}]}})";
constexpr const char* kHostile =
    R"({"reason": "<script>alert(1)</script>\u202e\"'&", "a<b>": "</dd><img src=x>"})";

class SightCommands : public ToolHost {
  protected:
    void SetUp() override { (void)OutputOf({"token", "init"}); }
};

TEST_F(SightCommands, StatusShowsProblemsInEightLines) {
    const ToolResult down = Run({"status"});
    EXPECT_EQ(down.status, 1);
    EXPECT_THAT(down.output, ContainsRegex("^sentrel   not running.*\n"
                                           "reports   not visible: .*\nnext      not known\n"));
    StartDaemon();
    for (const char* name : {"a", "b", "c", "d", "e"}) {
        Post(name, 2, R"({"reason": "broken"})");
    }
    Post("fine", 0, "{}");
    const ToolResult result = Run({"status"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output,
                ContainsRegex("^sentrel   running for .* as .* .process [0-9]+.; intake 9996, API "
                              "9984\nreports   6: 5 ERROR, 1 OK\n  .  a  ERROR  broken +[0-9]"));
    EXPECT_THAT(result.output, HasSubstr("\n  and 2 more; run \"sentrelctl list\"\n"));
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 8) << result.output;
    const Json answer = Json::parse(Run({"status", "--json"}).output);
    EXPECT_EQ(answer["states"], (Json{{"ERROR", 5}, {"OK", 1}}));
    EXPECT_EQ(answer["worst"].size(), 5);
}

TEST_F(SightCommands, StatusShowsTheRunningDaemonsLaunchesAndPort) {
    host.WriteStoreEntry("sample", R"({"enabled": true})");
    WriteFile(host.Root() + "/usr/lib/korvex/sentrel/plugins/bin/sample", "");
    StartDaemon();
    for (const char* command : {"get", "history"}) {
        EXPECT_THAT(Run({command, "Sample"}).error,
                    HasSubstr("the plugin \"sample\" has not reported yet; wait for its next run"));
    }
    host.WriteStoreEntry("sentrel", R"({"http_port": 9997})");
    EXPECT_THAT(Run({"status", "--token-file", "/nowhere"}).output,
                ContainsRegex("; intake 9996, .*\nreports   not visible: .*\n"
                              "next      sample in [0-9]+ s\n"));
    const std::string file = host.Base() + "document";
    WriteFile(file, ReportText{.name = "sample"}.Document());
    EXPECT_EQ(OutputOf({"post", "sample", file}).substr(0, 13), "Posted sample");
    if (::geteuid() == 0) {
        std::filesystem::permissions(host.Base(), std::filesystem::perms(0755));
        EXPECT_THAT(RunTool({"status"}, {"SENTREL_ROOT=" + host.Root()}, User::Nobody).output,
                    ContainsRegex("\ndoctor .*; [0-9]+ checks skipped: run as root\n"));
        EXPECT_THAT(
            RunTool({"plugin", "check", "sample"}, {"SENTREL_ROOT=" + host.Root()}, User::Nobody)
                .output,
            HasSubstr("\n1 check skipped: run as root to inspect it\n"));
    }
}

TEST_F(SightCommands, AnotherHostIsNotJudgedByThisOne) {
    host.WriteStoreEntry("raid", R"({"enabled": true})");
    WriteFile(host.Root() + "/usr/lib/korvex/sentrel/plugins/bin/raid", "");
    StartDaemon();
    Post("disk", 2, R"({"reason": "full"})");
    (void)OutputOf({"silence", "disk", "--for", "1h", "--because", "x"});
    const std::string token = TokenFile("token", {"--entitlement", "observability.reports.read"});
    const auto there = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(),
                         {"--api", "http://localhost:9984", "--token-file", token});
        return Run(arguments);
    };
    EXPECT_THAT(there({"list"}).output, HasSubstr("\n1 report: 1 ERROR"));
    const ToolResult status = there({"status"});
    EXPECT_EQ(status.status, 1);
    EXPECT_THAT(status.output, HasSubstr("sentrel   visible only through http://localhost:9984\n"
                                         "reports   1: 1 ERROR\n"));
    EXPECT_THAT(status.output, HasSubstr("next      not known\ndoctor    not run; "));
    EXPECT_EQ(there({"list", "--offline"}).status, 2);
}

TEST_F(SightCommands, AStoppedDaemonIsNotCalledWell) {
    StartDaemon();
    ASSERT_EQ(::kill(daemon->GetPid(), SIGSTOP), 0);
    EXPECT_THAT(Run({"status"}).output,  // which does not ask it
                ContainsRegex("^sentrel   process [0-9]+ is stopped by a signal; continue it: kill "
                              "-CONT [0-9]+\n"));
    EXPECT_THAT(Run({"doctor"}).output, ContainsRegex("^error +daemon .* is stopped by a signal"));
    ASSERT_EQ(::kill(daemon->GetPid(), SIGCONT), 0);
}

TEST_F(SightCommands, SilencedReportsAreShownAndCountedSeparately) {
    StartDaemon();
    Post("raid", 2, R"({"reason": "degraded"})");
    Post("fan", 2, "{}");
    Post("fine", 0, "{}");
    EXPECT_EQ(Run({"silence", "raid", "--for", "2h"}).status, 2);
    EXPECT_THAT(Run({"silence", "Radi", "--for", "1h", "--because", "x"}).error,
                HasSubstr("no report named \"Radi\"; did you mean \"raid\"?"));
    (void)OutputOf({"silence", "fan", "--for", "1h", "--because", "x"});
    (void)OutputOf({"silence", "RAID", "--for", "2h", "--because", "disk is ordered"});
    (void)OutputOf({"silence", "fan", "--end"});
    EXPECT_THAT(Run({"silence", "fan", "--end"}).error, HasSubstr("\"fan\" is not silenced; "));
    EXPECT_THAT(OutputOf({"silence"}), ContainsRegex("\nRAID +2.*Z  disk is ordered\n"));
    EXPECT_THAT(OutputOf({"list"}),
                ContainsRegex("\nfan .*\nraid +ERROR .*  silenced until [-0-9 ]*..:..Z: disk "
                              "is ordered; degraded\n.*\n\n3 reports: 1 ERROR, 1 silenced, 1 OK"));
    const Json raid = Json::parse(OutputOf({"get", "raid", "--json"}));
    EXPECT_EQ(raid["silence"]["because"], "disk is ordered");
    EXPECT_EQ(Run({"check", "raid"}).status, 2);
    EXPECT_EQ(OutputOf({"forget", "Fan"}), "Removed 2 files of fan\n");
    const Json status = Json::parse(Run({"status", "--json"}).output);
    EXPECT_EQ(status["worst"][0]["silence"]["because"], "disk is ordered");
    EXPECT_THAT(Run({"doctor", "--json"}).output, HasSubstr("1 silenced: raid"));
    if (::geteuid() == 0) {
        std::filesystem::permissions(host.Base(), std::filesystem::perms(0755));
        const std::vector<std::string> environment = {"SENTREL_ROOT=" + host.Root()};
        const std::string file = "/silences.json cannot be read: Permission denied; run this as";
        EXPECT_THAT(RunTool({"silence"}, environment, User::Nobody).error, HasSubstr(file));
        EXPECT_THAT(RunTool({"history", "raid"}, environment, User::Nobody).error,
                    HasSubstr(".json: Permission denied; run this as root"));
        EXPECT_THAT(RunTool({"list", "--offline"}, environment, User::Nobody).error,
                    HasSubstr(".json cannot be read: Permission denied; run this as root, or"));
    }
    WriteFile(host.Root() + "/var/lib/korvex/sentrel/silences.json", "[]");
    EXPECT_THAT(Run({"list"}).error, HasSubstr("silences.json is not a list of silences"));
    EXPECT_THAT(Run({"doctor"}).output, ContainsRegex("warning +silences .*not a list"));
}

TEST_F(SightCommands, GetShowsMetricsAgainstTheirLimitsAndHistoryWhatChanged) {
    StartDaemon();
    Post("disk", 0, R"({"metrics": {"used": {"value": 70, "unit": "%"}, "mounts": 4}})");
    Post("disk", 2, kMetrics);
    Post("cpu", 0, "{}");
    const ReportText late{.name = "late", .time = "2099-01-01T00:00:00Z"};
    ASSERT_EQ(HttpClient().Post("/late", late.Document()), 200);
    EXPECT_THAT(OutputOf({"get", "late"}), HasSubstr("\n  reported in the future (2099"));
    const std::string report = OutputOf({"get", "disk"});
    EXPECT_THAT(report, ContainsRegex("\n  METRIC +VALUE +LIMITS\n  mounts +4\n"
                                      "  used +91.2 % .*warning 80, critical 90\n"));
    EXPECT_THAT(report, HasSubstr("\n  disks\n    parts\n      - 1\n      -\n        x  2\n"
                                  "    sda  active\n"));
    const Json both = Json::parse(OutputOf({"get", "cpu", "disk", "--json"}))["reports"];
    EXPECT_EQ(both[1]["unstructured"]["metrics"]["mounts"], 4);
    const std::string history = OutputOf({"history", "disk"});
    EXPECT_THAT(history, ContainsRegex("\nChanged metrics:\n.*\nused +91.2 % +70 %\n$"));
    EXPECT_THAT(history, Not(HasSubstr("mounts")));
}

TEST_F(SightCommands, PageContainsEverythingAndEscapesReports) {
    StartDaemon();
    Post("disk", 0, "{}");
    Post("disk", 2, kMetrics);
    Post("evil", 1, kHostile);
    const std::string file = host.Base() + "page.html";
    EXPECT_THAT(OutputOf({"page", file}), HasSubstr("page.html: 2 reports: 1 ERROR, 1 WARNING."));
    const std::string page = ReadFile(file);
    EXPECT_THAT(page, HasSubstr("default-src 'none'"));
    EXPECT_THAT(page, HasSubstr("&lt;script&gt;alert(1)&lt;/script&gt;\uFFFD&quot;&#39;&amp;"));
    EXPECT_THAT(page, HasSubstr("<dt>a&lt;b&gt;</dt><dd>&lt;/dd&gt;&lt;img src=x&gt;</dd>"));
    EXPECT_THAT(page, Not(HasSubstr("<script>alert")));
    EXPECT_THAT(page, HasSubstr("<rect class=\"critical\" x=\"90\""));
    EXPECT_THAT(page, HasSubstr("<td class=\"differs\">ERROR</td><td>OK</td>"));
    EXPECT_THAT(page, Not(testing::ContainsRegex("(src|href)=.?http")));
    EXPECT_LT(page.size(), 40000);
    EXPECT_THAT(OutputOf({"page", "-"}), testing::StartsWith("<!DOCTYPE html>"));
    const std::string pipe = host.Base() + "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_THAT(Run({"page", pipe}).error, HasSubstr("pipe, which is not a regular file"));
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
}

}  // namespace

}  // namespace Test
