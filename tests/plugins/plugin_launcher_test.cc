// The launcher's start, its batches on a driven clock, and what becomes of plugins of all kinds.
#include "plugins/plugin_launcher.h"

#include "platform/kernel/groups/embedded_backend.h"
#include "platform/kernel/groups/groups.h"
#include "platform/kernel/spawn/process_table.h"
#include "plugin_host.h"
#include "plugins/resource_group.h"
#include "support/host_directory.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using PluginTest::DrivenLauncher;
using PluginTest::kEndless;
using PluginTest::PluginHost;
using PluginTest::StartLog;
using std::chrono::seconds;
using testing::Contains;

const char* const kFast = R"({"enabled": true, "frequency": "fast", "log_level": "warning"})";
const char* const kMedium = R"({"enabled": true, "frequency": "medium", "log_level": "x"})";

TEST(PluginLauncher, RaisesTheFastPeriodForManyPlugins) {
    const auto log = StartLog("{}", [](const PluginHost& host) {
        for (const char* name : {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k"}) {
            host.AddScript(name, "exit 0", kFast);
        }
    });
    for (const char* line :
         {"Number of fast plugins: 11, Throttle timeout: 30, Min period: 330",
          "Updated medium queue initial delay to: 360 ",
          "Updated the period of the fast plugin queue to 330",
          "Number of Medium plugins: 0, Throttle timeout: 30", "Plugin 10 scheduled"}) {
        EXPECT_THAT(log, Contains(std::string("5 PluginLauncher: ") + line));
    }
}

TEST(PluginLauncher, LogsItsEffectiveSettings) {
    struct Row {
        std::string setting;
        const char* message;
    };
    const std::string period = R"("fast_queue": {"time_period_in_mins": )";
    const std::string size = R"("plugin_resource_pool_size_MB": )";
    const Row rows[] = {
        {period + "10}", "5 PluginLauncher: Overridden time period = 10"},
        {period + "3}", "5 PluginLauncher: Configuration supplied time period = 3"},
        {period + "-1}", "5 PluginLauncher: Configuration supplied time period = -1"},
        {size + "100", "5 PluginLauncher: Overridden resource pool size = 100MB"},
        {size + "500", "5 PluginLauncher: Overridden resource pool size = 500MB"},
        {size + "40", "3 PluginLauncher: Configured resource pool size: 40MB is outside limits"},
        {size + "501", "3 PluginLauncher: Configured resource pool size: 501MB is outside limits"},
        {"", "3 PluginLauncher: Configured resource pool size: 0MB is outside limits"},
    };
    for (const Row& row : rows) {
        EXPECT_THAT(StartLog("{" + row.setting + "}", [](const PluginHost&) {}),
                    Contains(row.message));
    }
}

TEST(PluginLauncher, RunsTheBatchesInTheirSlotsAndPeriods) {
    const PluginHost host;
    for (const char* name : {"a-fast", "b-fast"}) {
        host.AddScript(name, "exit 0", kFast);
    }
    host.AddScript("c-medium", "exit 0", kMedium);
    // first in the directory, and last of all
    host.AddScript("a-slow", "exit 0", R"({"frequency": "slow"})");
    DrivenLauncher launcher(host);
    const std::pair<int, const char*> plan[] = {{30, "a-fast"}, {30, "b-fast"},  {30, "c-medium"},
                                                {30, "a-slow"}, {210, "a-fast"}, {30, "b-fast"}};
    std::vector<std::string> expected;
    for (const auto& [distance, name] : plan) {
        launcher.Advance(seconds(distance - 1), 0);
        launcher.Advance(seconds(1), 1);
        expected.push_back(std::string("7 PluginLauncher: About to launch plugin ") + name +
                           " in the batch");
        std::vector<std::string> lines = launcher.Log().Lines();
        std::erase_if(lines, [](const std::string& line) {
            return line.find("About to launch") == std::string::npos;
        });
        ASSERT_EQ(lines, expected);
    }
}

TEST(PluginLauncher, GivesThePluginItsCommandLine) {
    const PluginHost host;
    const std::string output = host.MakeOutput();
    host.AddScript("probe", "echo \"$@\" > " + output + "\n" + kEndless, kFast);
    DrivenLauncher launcher(host, R"({"http_port": 12345})");
    launcher.Advance(seconds(30), 1);
    const std::string arguments =
        "++group=sentrel-plugins,mem=40 -u http://localhost:12345 --loglevel=warning";
    EXPECT_EQ(::Test::ReadFile(output), arguments + "\n");
    const std::string path = "/usr/lib/korvex/sentrel/plugins/bin/probe ";
    EXPECT_TRUE(
        launcher.Log().Contains("5 PluginLauncher: Launching binary: " + path + arguments + " "));
    EXPECT_TRUE(launcher.Log().Contains("6 PluginLauncher: Pushed plugin " + path + "("));
}

TEST(PluginLauncher, TerminatesARunningPluginAtAnyQueuesFirstBatch) {
    const PluginHost host;
    host.AddScript("a-fast", kEndless, kFast);
    host.AddScript("b-medium", kEndless, kMedium);
    DrivenLauncher launcher(host);
    launcher.Advance(seconds(30), 1);
    EXPECT_FALSE(launcher.Log().Contains(" killed"));
    launcher.Advance(seconds(30), 1);  // the first batch of the medium queue
    EXPECT_EQ(launcher.Log().Count(" killed"), 1U);
}

TEST(PluginLauncher, SendsNoSignalToAPluginThatHasExited) {
    const PluginHost host;
    const std::string input = host.MakeOutput();
    host.AddScript("probe", "read line < " + input, kFast);
    DrivenLauncher launcher(host);
    launcher.Advance(seconds(30), 1);
    ::Test::WriteFile(input, "end\n");
    const int pid = launcher.LastPid();
    PluginTest::WaitUntilEnded(pid);
    launcher.Advance(seconds(300), 1);
    EXPECT_EQ(launcher.Log().Count("7 PluginLauncher: " + std::to_string(pid) + " already killed"),
              1U);
    EXPECT_FALSE(launcher.Log().Contains("5 PluginLauncher: " + std::to_string(pid)));
}

TEST(PluginLauncher, LimitsMemoryToAtLeastThePool) {
    struct Row {
        std::int32_t configured, poolSizeMB, expected;
    };
    const Row rows[] = {{256, 64, 256}, {100, 40, 100}, {41, 64, 64},   {1, 500, 500},
                        {0, 64, 0},     {-1, 64, 256},  {-1, 500, 500}, {2048, 64, 2048}};
    for (const Row& row : rows) {
        EXPECT_EQ(Sentrel::MemoryLimitMB(row.configured, row.poolSizeMB), row.expected)
            << row.configured << " with a pool of " << row.poolSizeMB;
    }
}

TEST(PluginLauncher, RefusesToLaunchWithoutTheGroup) {
    const PluginHost host;
    host.AddScript("probe", kEndless, kMedium);
    DrivenLauncher launcher(host);
    Kernel::UseGroups(std::make_unique<Kernel::EmbeddedBackend>(Kernel::ProcessTable::Spawned()));
    launcher.Advance(seconds(30), 1);
    EXPECT_TRUE(launcher.Log().Contains(
        "3 PluginLauncher: Group host/pax/kolbern/sentrel-plugins was not found: "));
    EXPECT_TRUE(launcher.Log().Contains(
        "3 PluginLauncher: Failed resource pool prechecks; cannot launch plugin: "
        "/usr/lib/korvex/sentrel/plugins/bin/probe ++group=sentrel-plugins,mem=40 -u "
        "http://localhost:9996 "));
    (void)Kernel::EnsureGroup(Sentrel::kPluginGroupPath, 0);
    launcher.Advance(seconds(3600), 1);
    EXPECT_TRUE(launcher.Log().Contains("6 PluginLauncher: Pushed plugin "));
}

}  // namespace
