// The daemon with shipped checks as its plugins: what it says at its start, and its first launches
// in their real slots of 30 seconds, up to the reports that the plugins post. What a plan decides
// is left to tests/plugins, which need not wait for it.
#include "ctl/post/check.h"
#include "platform/kernel/groups/cgroup_backend.h"
#include "plugins/discovery.h"
#include "plugins/resource_group.h"
#include "support/cgroup_root.h"
#include "support/report_contract.h"
#include "support/scenario.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;

using std::chrono::seconds;
using std::chrono::steady_clock;
using ::Test::DaemonOptions;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// More than a slot, by as much as the slowest machine may be late.
constexpr seconds kSlotPatience{90};

// The level-3 line of a plugin that was faster than the look that the launcher takes at it.
constexpr const char* kAlreadyGone = "Plugin launched but failed to run: No such process";

class Launch : public ::Test::Scenario {
  protected:
    std::string PluginDirectory() const { return host.Root() + Sentrel::kPluginDirectory; }

    // Two checks for the fast queue, one for the medium and one for the slow, and the defaults that
    // are shipped with them; the intake on a port that is not the default.
    void InstallFourChecks() const {
        for (const char* name : {"cpu", "filesystem", "kernel", "network"}) {
            fs::copy_file(fs::path(SENTREL_CHECK_PROGRAMS) / name, PluginDirectory() + name);
        }
        fs::copy(SENTREL_VENDOR_DEFAULTS, host.Root() + "/usr/lib/korvex/tabulon",
                 fs::copy_options::recursive);
        host.WriteStoreEntry("network", R"({"frequency": "slow"})");
        host.WriteStoreEntry("sentrel", R"({"http_port": 10996})");
    }

    // The plugin's launch is the next one and leads to its report. Gives the moment at which the
    // report was seen.
    steady_clock::time_point ExpectReportOfLaunch(std::size_t number, const std::string& name) {
        EXPECT_TRUE(daemon->WaitForLog("Launching binary: ", number, kSlotPatience));
        EXPECT_TRUE(daemon->WaitForLog("Rotated filename: " + name + "-0.json"));
        EXPECT_TRUE(daemon->WaitForLog("Scheduled the next iteration", number));
        const steady_clock::time_point seen = steady_clock::now();
        EXPECT_EQ(host.LinkTarget(name), host.ReportDirectory() + "/" + name + "-0.json");
        EXPECT_EQ(::Test::ContractFault(host.Report(name), name), "");
        return seen;
    }

    // In the order of the log: the command line of each launch, and the message on its result.
    std::vector<std::string> LaunchLines() const {
        constexpr std::string_view kLaunch = "5 PluginLauncher: Launching binary: ";
        std::vector<std::string> lines;
        for (const std::string& line : daemon->LogLines()) {
            if (line.starts_with(kLaunch)) {
                lines.push_back(line.substr(kLaunch.size()));
            } else if (line.starts_with("6 PluginLauncher: Pushed plugin ") ||
                       line.find(kAlreadyGone) != std::string::npos) {
                lines.push_back(line.substr(std::string_view("6 PluginLauncher: ").size()));
            }
        }
        return lines;
    }

    static testing::Matcher<std::string> IsResultOf(const std::string& name) {
        return testing::AnyOf(
            testing::StrEq(kAlreadyGone),
            StartsWith("Pushed plugin " + std::string(Sentrel::kPluginDirectory) + name + " ("));
    }
};

TEST_F(Launch, LogsTheScheduleOfFourPlugins) {
    InstallFourChecks();
    Start();
    EXPECT_THAT(
        LogFrom(0, "5 PluginLauncher: "),
        ElementsAre("5 PluginLauncher: Overridden resource pool size = 64MB",
                    "5 PluginLauncher: cpu plugin configuration: log_level=info frequency=fast",
                    "5 PluginLauncher: filesystem plugin configuration: log_level=info "
                    "frequency=fast",
                    "5 PluginLauncher: kernel plugin configuration: log_level=info "
                    "frequency=medium",
                    "5 PluginLauncher: network plugin configuration: log_level=info "
                    "frequency=slow",
                    "5 PluginLauncher: Number of fast plugins: 2, Throttle timeout: 30, Min "
                    "period: 120",
                    "5 PluginLauncher: Updated medium queue initial delay to: 90 ",
                    "5 PluginLauncher: Number of Medium plugins: 1, Throttle timeout: 30",
                    "5 PluginLauncher: About to schedule fast plugins",
                    "5 PluginLauncher: Plugin 0 scheduled", "5 PluginLauncher: Plugin 1 scheduled",
                    "5 PluginLauncher: About to schedule medium plugins",
                    "5 PluginLauncher: Plugin 0 scheduled",
                    "5 PluginLauncher: About to schedule slow plugins",
                    "5 PluginLauncher: Plugin 0 scheduled"));
    EXPECT_THAT(LogFrom(0, "6 PluginLauncher: "),
                ElementsAre("6 PluginLauncher: Plugin added to fast queue: cpu",
                            "6 PluginLauncher: Plugin added to fast queue: filesystem",
                            "6 PluginLauncher: Plugin added to medium queue: kernel",
                            "6 PluginLauncher: Plugin added to slow queue: network"));
    EXPECT_THAT(LogFrom(0, "3 "), IsEmpty());
    EXPECT_EQ(daemon->Stop(), 0);
}

TEST_F(Launch, FailsToStartWithoutThePluginDirectory) {
    fs::remove(host.Root() + "/usr/lib/korvex/sentrel/plugins/bin");
    daemon.emplace(Options());
    EXPECT_EQ(daemon->WaitForEnd(), 1);
    EXPECT_THAT(LogFrom(0, "3 sentrel: "),
                ElementsAre(testing::AllOf(StartsWith("3 sentrel: Exiting due to exception: "),
                                           HasSubstr("/usr/lib/korvex/sentrel/plugins/bin"))));
}

// Needs a minute. The plugins run in a resource group where this host has a hierarchy for it.
TEST_F(Launch, RunsOnePluginPerSlotAndStoresItsReport) {
    InstallFourChecks();
    const ::Test::CgroupRoot cgroupRoot;
    DaemonOptions options = Options();
    std::int64_t group = 0;
    if (cgroupRoot.Problem().empty()) {
        Kernel::CgroupBackend groups(cgroupRoot.Path());
        (void)groups.Ensure(Sentrel::kPluginGroupPath, 64);  // a reservation is not needed here
        ASSERT_EQ(groups.FindId(Sentrel::kPluginGroupPath, group), 0);
        options.cgroupRoot = cgroupRoot.Path();
    }
    const steady_clock::time_point begin = steady_clock::now();
    Start(options);
    EXPECT_GE(ExpectReportOfLaunch(1, "cpu") - begin, seconds(30));
    EXPECT_GE(ExpectReportOfLaunch(2, "filesystem") - begin, seconds(60));
    EXPECT_EQ(daemon->Stop(), 0);

    const std::string directory = Sentrel::kPluginDirectory;
    const std::string arguments =
        " ++group=sentrel-plugins,mem=64 -u http://localhost:10996 --loglevel=info ";
    EXPECT_THAT(LaunchLines(),
                ElementsAre(directory + "cpu" + arguments, IsResultOf("cpu"),
                            directory + "filesystem" + arguments, IsResultOf("filesystem")));
    EXPECT_THAT(LogFrom(0, "7 PluginLauncher: "), Contains(HasSubstr(" already killed")));
    EXPECT_EQ(LogFrom(0, "3 ").size(), daemon->CountLog(kAlreadyGone));
    if (cgroupRoot.Problem().empty()) {
        EXPECT_EQ(daemon->CountLog("0 subgroups present in group " + std::to_string(group)), 2U);
    }
}

}  // namespace
