// "check" and "metrics" on a report directory, without a daemon.
#include "ctl/reports/metrics_text.h"

#include "support/host_directory.h"
#include "support/stored_report.h"
#include "support/tool_run.h"

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace Test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;

class Monitoring : public testing::Test {
  protected:
    Monitoring() {
        for (const ReportText& report :
             {ReportText{.name = "cpu"},
              ReportText{.name = "disk",
                         .status = 1,
                         .unstructured = R"({"reason":"a | b","metrics":{"space:/'=":)"
                                         R"({"value":8.25,"unit":"%","warning":10,"critical":5},)"
                                         R"("size":{"value":1e21,"unit":"furlong"},)"
                                         R"("text":"no number","bad\"\\\n":-3}})"},
              ReportText{.name = "net", .status = 2, .unstructured = "[]"},
              ReportText{.name = "odd", .status = 3}}) {
            (void)StoreReport(directory, report.name, report.Document());
        }
        (void)StoreReport(directory, "broken", "{");
        WriteFile(host.Root() + "/usr/lib/korvex/sentrel/plugins/bin/late", "");
        (void)host.WriteStoreEntry("late", "{}");
    }

    ToolResult Run(std::vector<std::string> arguments) const {
        arguments.emplace_back("--offline");
        return RunTool(arguments, {"SENTREL_ROOT=" + host.Root()});
    }

    const HostDirectory host;
    const std::filesystem::path directory = host.Root() + "/var/lib/korvex/sentrel/reports";
};

TEST_F(Monitoring, CheckFollowsTheConvention) {
    struct Row {
        std::vector<std::string> arguments;
        int status;
        const char* line;
    };
    const Row rows[] = {
        {{"cpu"}, 0, "OK - cpu OK: fine\n"},
        {{"DISK"},
         1,
         "WARNING - disk WARNING: a / b | 'bad\"\\\uFFFD'=-3 'size'=1000000000000000000000 "
         "'space:/''_'=8.25%;10:;5:\n"},
        {{"net"}, 2, "ERROR - net ERROR\n"},
        {{"odd"}, 3, "UNKNOWN - odd NONE: fine\n"},
        {{"late"}, 3, "UNKNOWN - late NEVER: this plugin has not reported yet\n"},
        {{"broken"},
         3,
         "UNKNOWN - broken INVALID: it is not a valid report; see \"sentrelctl history broken\"\n"},
        {{"none"}, 3, "UNKNOWN - no report named \"none\"; see \"sentrelctl list\"\n"},
        {{"odd", "cpu"}, 3, "UNKNOWN - odd NONE: fine; cpu OK: fine\n"},
        {{"cpu", "odd", "net"}, 2, "ERROR - net ERROR; odd NONE: fine; cpu OK: fine\n"},
        {{"cpu", "--json"},
         0,
         "{\"status\":0,\"state\":\"OK\",\"text\":\"cpu OK: fine\",\"performanceData\":\"\"}\n"},
    };
    for (Row row : rows) {
        row.arguments.insert(row.arguments.begin(), "check");
        const ToolResult result = Run(row.arguments);
        EXPECT_EQ(result.output, row.line);
        EXPECT_EQ(result.status, row.status) << row.line;
        EXPECT_EQ(result.error, "");
    }
    EXPECT_THAT(Run({"check", "cpu", "disk"}).output, HasSubstr(" | 'disk.bad"));
}

TEST_F(Monitoring, CheckReportsEveryFailureAsUnknown) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"check"},
                                               {"check", "cpu", "--nonsense"},
                                               {"check", "cpu", "--root", "/nonsense"},
                                               {"check", "cpu", "--reports", "/nonsense"}}) {
        EXPECT_EQ(Run(arguments).status, 3);
    }
    EXPECT_THAT(RunTool({"check", "cpu", "--api", "nonsense"}).output,
                HasSubstr("UNKNOWN - invalid address \"nonsense\""));
}

TEST_F(Monitoring, MetricsFitBothFormats) {
    const ToolResult result = Run({"metrics"});
    ASSERT_EQ(result.status, 0) << result.error;
    for (const char* part : {
             "# TYPE sentrel_report_state gauge\n# HELP sentrel_report_state ",
             "sentrel_report_state{report=\"broken\",state=\"INVALID\"} 1\n",
             "sentrel_report_state{report=\"cpu\",state=\"OK\"} 1\n",
             "sentrel_report_state{report=\"cpu\",state=\"STALE\"} 0\n",
             "sentrel_report_state{report=\"late\",state=\"NEVER\"} 1\n",
             "# UNIT sentrel_report_age_seconds seconds\n",
             "sentrel_report_metric{report=\"disk\",metric=\"bad\\\"\\\\\\n\",unit=\"\"} -3\n",
             "sentrel_report_metric{report=\"disk\",metric=\"space:/'=\",unit=\"%\"} 8.25\n",
             "sentrel_report_metric_critical{report=\"disk\",metric=\"space:/'=\",unit=\"%\"} 5\n",
             "sentrel_report_metric{report=\"disk\",metric=\"size\",unit=\"furlong\"} 1e+21\n",
             "sentrel_report_reason_info{report=\"disk\",reason=\"a | b\"} 1\n",
             "gauge\n# HELP sentrel_up Whether the daemon runs.\nsentrel_up 0\n",
         }) {
        EXPECT_THAT(result.output, HasSubstr(part));
    }
    EXPECT_THAT(result.output,
                MatchesRegex("(.|\n)*\nsentrel_report_age_seconds\\{report=\"cpu\"\\} "
                             "[0-9]+\n(.|\n)*"));
    EXPECT_THAT(result.output, EndsWith("\n# EOF\n"));
    EXPECT_THAT(result.output, testing::Not(HasSubstr("reason_info{report=\"cpu\"")));
    EXPECT_EQ(result.error,
              "sentrelctl: metrics of the daemon and of last runs are missing: " + host.Root() +
                  "/run/korvex/sentrel/state: No such file or directory\n");
}

TEST(MetricsText, IncludesTheDaemonAndTheRunsOfItsPlugins) {
    using std::chrono::milliseconds;
    const std::chrono::system_clock::time_point time(milliseconds(1'800'000'000'250));
    Ctl::JudgedReport report;
    report.report.name = "long";
    report.report.unstructured = R"({"reason":")";
    for (int i = 0; i < 300; ++i) {
        report.report.unstructured += "é";
    }
    report.report.unstructured += "\"}";
    report.state = Ctl::ReportState::Error;
    Sentrel::DaemonState state{
        .started = time, .counts = {1, 2, 3, 4, 5, 6, 7, 8}, .plugins = {}, .refusals = {}};
    state.plugins.push_back({.name = "cpu",
                             .nextLaunch = time,
                             .start = time,
                             .end = time + milliseconds(1500),
                             .memoryKill = {}});
    state.plugins.push_back(
        {.name = "runs", .nextLaunch = time, .start = time, .end = {}, .memoryKill = {}});
    state.plugins.push_back(
        {.name = "waits", .nextLaunch = time, .start = {}, .end = {}, .memoryKill = {}});
    const std::string text = Ctl::MetricsText({{report}, true, state});
    for (const char* part : {
             "\nsentrel_up 1\n",
             "\nsentrel_start_timestamp_seconds 1800000000.25\n",
             "\n# HELP sentrel_posts_total Posts to the intake, by outcome.\n"
             "sentrel_posts_total{outcome=\"stored\"} 1\n"
             "sentrel_posts_total{outcome=\"refused\"} 2\n",
             "\nsentrel_launches_total{outcome=\"started\"} 3\n"
             "sentrel_launches_total{outcome=\"refused\"} 4\n",
             "\nsentrel_kills_total{cause=\"time\"} 5\nsentrel_kills_total{cause=\"memory\"} 6\n",
             "\nsentrel_api_calls_total{outcome=\"succeeded\"} 7\n"
             "sentrel_api_calls_total{outcome=\"failed\"} 8\n",
             "\nsentrel_plugin_next_launch_timestamp_seconds{plugin=\"waits\"} 1800000000.25\n",
             "{plugin=\"cpu\"} 1800000000.25\n"
             "sentrel_plugin_last_run_timestamp_seconds{plugin=\"runs\"} 1800000000.25\n# TYPE",
             "\nsentrel_plugin_last_run_duration_seconds{plugin=\"cpu\"} 1.5\n# EOF\n",
         }) {
        EXPECT_THAT(text, HasSubstr(part));
    }
    EXPECT_THAT(text, testing::ContainsRegex("reason=\"(é){200}\"} 1\n"));
    EXPECT_THAT(text, testing::Not(HasSubstr("TYPE sentrel_posts")));
}

TEST_F(Monitoring, TheTextFileIsReplacedAsAWhole) {
    const std::string file = host.Base() + "sentrel.prom";
    WriteFile(file, "before");
    const ToolResult result = Run({"metrics", "--textfile", file});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(ReadFile(file), EndsWith("\n# EOF\n"));
    EXPECT_EQ(ModeOf(file), 0644U);
    ExpectFailure(Run({"metrics", "--textfile", "/nonsense/file"}), "; name a file in a directory");
    ExpectFailure(Run({"metrics", "--reports", "/nonsense"}),
                  "; name the daemon's directory (its option -r) with");
}

}  // namespace
}  // namespace Test
