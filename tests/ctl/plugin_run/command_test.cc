// "plugin run" by the real program, of plugins that do well and badly.
#include "store/report_name.h"
#include "support/cgroup_root.h"
#include "support/descriptors.h"
#include "support/tool_host.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>

namespace Test {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using Json = nlohmann::json;

namespace fs = std::filesystem;

// post PATH TYPE BODY, and "$good", which is a report "plug".
constexpr const char* kPrelude = R"(#!/bin/bash
post() {
    exec 3<>/dev/tcp/127.0.0.1/9996
    printf 'POST %s HTTP/1.1\r\nContent-Type: %s\r\nContent-Length: %d\r\n\r\n%s' "$1" "$2" ${#3} "$3" >&3
    read -r answer <&3
    exec 3>&-
}
interrupt() {  # the tool, which has taken the plugin over by the time that it answers a post
    read -r -a stat < /proc/$$/stat
    kill -INT "${stat[3]}"
}
json=application/json
TZ=UTC0 printf -v now '%(%FT%TZ)T' -1
good='{"structured": {"name": "plug", "time": "'$now'", "status": 1},
       "unstructured": {"reason": "so so", "metrics": {"load": 1.5}}}'
)";

class PluginRun : public ToolHost {
  protected:
    PluginRun() {
        if (root.Problem().empty()) {
            environment.push_back("SENTREL_CGROUP_ROOT=" + root.Path());
            EXPECT_EQ(RunTool({"group", "ensure"}, environment).status, 0);
        }
    }

    void Install(const std::string& body, const char* entry = "{}") const {
        WriteFile(File(), kPrelude + body);
        fs::permissions(File(), fs::perms::owner_all);
        (void)host.WriteStoreEntry("plug", entry);
    }
    std::string File() const { return host.Root() + "/usr/lib/korvex/sentrel/plugins/bin/plug"; }
    ToolResult RunIt(std::vector<std::string> options = {}) const {
        options.insert(options.begin(), {"plugin", "run", "plug"});
        return RunTool(options, environment);
    }

    const CgroupRoot root;  // where there is none, its group is the tool's own table
    std::vector<std::string> environment = {"SENTREL_ROOT=" + host.Root()};
};

TEST_F(PluginRun, JudgesTheRunAndItsReports) {
    struct Row {
        const char* body;
        int status;           // of the tool
        const char* end;      // of the plugin
        const char* reports;  // names and answers
        const char* finding;
        const char* timeout = "1000";
    };
    const Row rows[] = {
        {"post /plug $json \"$good\"; post /any/plug $json \"$good\"", 0, "0", "plug 200 plug 200 ",
         ""},
        {"post /plug $json \"$good\"; exit 3", 1, "3", "plug 200 ", "exited with status 3"},
        {"kill -SEGV $$", 1, "SIGSEGV", "", "killed by SIGSEGV"},
        {"exec sleep 1000", 1, "SIGTERM", "", "and was sent SIGTERM", "1"},
        {"post /plug $json \"$good\"; interrupt; exec sleep 1000", 1, "SIGTERM", "plug 200 ",
         "the run was interrupted\n"},
        {"trap interrupt TERM; post /plug $json \"$good\"; interrupt; while :; do :; done", 1,
         "SIGKILL", "plug 200 ", "interrupted, and the plugin did not exit on SIGTERM\n"},
        {"echo why >&2", 1, "0", "", "posted no report"},
        {"echo why >&2; post /plug $json \"${good/: 1/: 4}\"", 1, "0", "plug 200 ",
         "says UNKNOWN, and it wrote to standard error"},
        {"post /plug $json \"${good/$now/2024-03-05T14:07:09Z}\"", 1, "0", "plug 200 ",
         "is already STALE: its time is "},
        {"post /plug $json \"${good/$now/2224-03-05T14:07:09Z}\"", 1, "0", "plug 200 ",
         "is already STALE: its time is in the future"},
        {"post /plug $json '{'; post /plug $json \"$good\"", 0, "0", "plug 200 plug 200 ",
         "its report \"plug\" is invalid: line 1"},
        {"post /plug text/plain \"$good\"; post / $json \"$good\"; post /p%20 $json \"$good\"", 1,
         "0", "plug 400  206 p%20 500 ",
         "refused with 400: its content type is not exactly application/json"},
        {"post /plugin $json \"${good/plug/plugin}\"", 1, "0", "plugin 200 ",
         "is not named after the plugin"},
        {"post /plug.more $json \"${good/plug/plug.more}\"; exec <&- >&- 2>&-", 0, "0",
         "plug.more 200 ", ""},
    };
    for (const Row& row : rows) {
        Install(row.body);
        const ToolResult result = RunIt({"--json", "--timeout", row.timeout});
        EXPECT_EQ(result.status, row.status) << row.body << result.error;
        const Json run = Json::parse(result.output);
        const Json& end = run["signal"].is_null() ? run["exitStatus"] : run["signal"];
        EXPECT_EQ(end.is_string() ? end.get<std::string>() : end.dump(), row.end) << row.body;
        std::string reports;
        for (const Json& report : run["reports"]) {
            reports += report["name"].get<std::string>() + " " + report["answer"].dump() + " ";
        }
        EXPECT_EQ(reports, row.reports) << row.body;
        std::string findings;
        for (const Json& finding : run["findings"]) {
            findings += finding["text"].get<std::string>() + "\n";
        }
        EXPECT_THAT(findings, HasSubstr(row.finding)) << row.body;
        EXPECT_EQ(findings.empty(), *row.finding == '\0') << findings;
    }
}

TEST_F(PluginRun, StartsThePluginAsTheDaemonDoes) {
    Install(
        "echo \"$# $*\"; tr '\\0' ' ' < /proc/$$/environ; pwd; ls -m /proc/$$/fd; "
        "readlink /proc/$$/fd/0; read -r -a stat < /proc/$$/stat; "
        "[[ ${stat[5]} = $$ ]] && echo leads; post /plug $json \"$good\"",
        R"({"log_level": "warning"})");
    const ToolResult result = RunIt();
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_THAT(result.output,
                HasSubstr("stdout  4 ++group=sentrel-plugins,mem=40 -u http://localhost:9996 "
                          "--loglevel=warning\nstdout  /\nstdout  0, 1, 2, 255\nstdout  /dev/null\n"
                          "stdout  leads\n\nCommand "));
    EXPECT_THAT(result.output, HasSubstr("\nReport plug: WARNING, "));
    EXPECT_THAT(
        result.output,
        HasSubstr(", good\n  so so\n  load 1.5\n\nReady for production; it reports WARNING.\n"));
}

TEST_F(PluginRun, KeepsTheBeginningOfLongOutputAndKillsLeftovers) {
    Install(
        "head -c 3000000 /dev/zero | tr '\\0' x\n"
        "setsid sleep 1000 > /dev/null 2>&1 &\n"
        "until [[ $(< /proc/$!/comm) = sleep ]]; do :; done");
    const Json run = Json::parse(RunIt({"--json"}).output);
    EXPECT_EQ(run["standardOutput"]["bytes"], 3000000);
    EXPECT_EQ(run["standardOutput"]["text"], std::string(65536, 'x'));
    ASSERT_EQ(run["left"].size(), 1U) << run;
    EXPECT_EQ(run["left"][0]["name"], "sleep");
    EXPECT_EQ(::kill(run["left"][0]["pid"].get<pid_t>(), 0), -1);
    EXPECT_EQ(errno, ESRCH);
}

TEST_F(PluginRun, FindsReportsThatTheDaemonStored) {
    StartDaemon();
    Install("post /plug $json \"$good\"; post /other $json \"$good\"", R"({"enabled": false})");
    const ToolResult result = RunIt();
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_THAT(result.output, HasSubstr("Report plug: WARNING, "));
    EXPECT_THAT(result.output, HasSubstr("the daemon does not start it: "));
    EXPECT_THAT(result.output, EndsWith("\nIt works, but the daemon does not start it.\n"));
    EXPECT_TRUE(fs::exists(ReportDirectory() + "/plug-0.json"));
    for (int i = 0; i < Sentrel::kFilesPerName; ++i) {
        fs::create_directory(ReportDirectory() + "/.plug-" + std::to_string(i) + ".json");
    }
    EXPECT_THAT(
        RunIt().output,
        AllOf(HasSubstr("its report \"plug\" was refused with 500: the daemon could not store it"),
              Not(HasSubstr("stored no report"))));
    ExpectFailure(RunTool({"plugin", "run", "plug", "--reports", "/no/such"}, environment),
                  "the report directory");
}

TEST_F(PluginRun, InheritsTheAttributesOfTheDaemon) {
    std::optional<LoweredLimit> few(std::in_place, RLIMIT_NOFILE, 300);
    const mode_t mask = ::umask(0027);
    StartDaemon();
    EXPECT_EQ(::setpriority(PRIO_PROCESS, static_cast<id_t>(daemon->GetPid()), 5), 0);
    few.reset();
    (void)::umask(mask);
    Install("umask; ulimit -n; nice; post /plug $json \"$good\"");
    EXPECT_THAT(RunIt().output, HasSubstr("stdout  0027\nstdout  300\nstdout  5\n"));
}

TEST_F(PluginRun, ExplainsWhyAPluginCannotBeStarted) {
    ExpectFailure(RunIt(), "no plugin named \"plug\"");
    Install("");
    ExpectFailure(RunTool({"plugin", "run", "lug"}, environment), "did you mean \"plug\"?");
    fs::permissions(File(), fs::perms::owner_read);
    ExpectFailure(RunIt(), "Permission denied; make it executable: chmod +x ");
    fs::remove(File());
    fs::create_symlink("/no/such", File());
    ExpectFailure(RunIt(), "No such file or directory; it is a link to nothing");
    EXPECT_EQ(RunIt({"--timeout", "soon"}).status, 2);
    if (root.Problem().empty()) {
        fs::remove(root.Path() + "/host/pax/kolbern/sentrel-plugins");
        ExpectFailure(RunIt(), "create it: sentrelctl group ensure");
    }
}

}  // namespace
}  // namespace Test
