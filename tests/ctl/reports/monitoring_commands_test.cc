// "check" and "metrics" on a report directory, without a daemon.
#include "support/host_directory.h"
#include "support/stored_report.h"
#include "support/tool_run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include <sys/stat.h>

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
         "'space:/''_'=8.25%;10;5\n"},
        {{"net"}, 2, "ERROR - net ERROR\n"},
        {{"odd"}, 3, "UNKNOWN - odd NONE: fine\n"},
        {{"late"}, 3, "UNKNOWN - late NEVER: this plugin has not reported yet\n"},
        {{"broken"},
         3,
         "UNKNOWN - broken INVALID: it cannot be read; see \"sentrelctl history broken\"\n"},
        {{"none"}, 3, "UNKNOWN - there is no report \"none\"; see \"sentrelctl list\"\n"},
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

TEST_F(Monitoring, EveryFailureOfCheckIsUnknown) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"check"},
                                               {"check", "cpu", "--nonsense"},
                                               {"check", "cpu", "--root", "/nonsense"},
                                               {"check", "cpu", "--reports", "/nonsense"}}) {
        EXPECT_EQ(Run(arguments).status, 3);
    }
    EXPECT_THAT(RunTool({"check", "cpu", "--api", "nonsense"}).output,
                HasSubstr("UNKNOWN - \"nonsense\" is no address of the API"));
}

TEST_F(Monitoring, MetricsAreOneTextForBothFormats) {
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
         }) {
        EXPECT_THAT(result.output, HasSubstr(part));
    }
    EXPECT_THAT(result.output,
                MatchesRegex("(.|\n)*\nsentrel_report_age_seconds\\{report=\"cpu\"\\} "
                             "[0-9]+\n(.|\n)*"));
    EXPECT_THAT(result.output, EndsWith("\n# EOF\n"));
}

TEST_F(Monitoring, TheTextFileIsReplacedAsAWhole) {
    const std::string file = host.Base() + "sentrel.prom";
    WriteFile(file, "before");
    const ToolResult result = Run({"metrics", "--textfile", file});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(ReadFile(file), EndsWith("\n# EOF\n"));
    struct stat status{};
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0644U);
    ExpectFailure(Run({"metrics", "--textfile", "/nonsense/file"}), "; name a file in a directory");
    ExpectFailure(Run({"metrics", "--reports", "/nonsense"}),
                  "; name the daemon's (its option -r) with");
}

}  // namespace
}  // namespace Test
