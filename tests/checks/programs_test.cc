// The shipped checks as programs, run on this machine as the daemon runs plugins.
#include "ctl/post/check.h"
#include "support/host_directory.h"
#include "support/plugin_process.h"
#include "support/report_contract.h"
#include "support/report_listener.h"
#include "support/sanitizers.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <string>

namespace {

using Test::PluginHost;
using Test::PluginProcess;
using Test::ReportListener;
using testing::HasSubstr;

// The sanitizers need more memory than the programs themselves.
constexpr bool kIsInstrumented = kHasAddressSanitizer || kHasThreadSanitizer;
constexpr long kMaxPeakKiB = 3 * 1024;

class CheckProgram : public testing::TestWithParam<const char*> {
  protected:
    ~CheckProgram() override { std::filesystem::remove("/tmp/sentrel-" + name); }  // its memory

    const std::string name = GetParam();
    const PluginHost host{std::string(SENTREL_CHECK_PROGRAMS "/") + GetParam(), GetParam()};
    ReportListener listener;
};

// What a report says of its metrics but the values, which differ from run to run.
nlohmann::json LimitsOf(const std::string& document) {
    nlohmann::json metrics = nlohmann::json::parse(document).at("unstructured").at("metrics");
    for (auto& [name, metric] : metrics.items()) {
        metric.erase("value");
    }
    return metrics;
}

TEST_P(CheckProgram, PostsAReportByTheShippedSettingsAndStaysSmall) {
    PluginProcess plugin(host, host.CommandLine(listener.Port()));
    const ReportListener::Post post = listener.Receive();
    const long peak = plugin.PeakKiB();
    listener.Answer(200);
    EXPECT_EQ(plugin.WaitForEnd(), 0);
    EXPECT_EQ(plugin.StandardError(), "");
    EXPECT_EQ(::Test::ContractFault(post.body, name), "") << post.body;
    EXPECT_NE(::Test::StatusOf(post.body), 4) << post.body;
    EXPECT_THAT(post.head, HasSubstr("POST /" + name + " HTTP/1.1\r\n"));
    if (!kIsInstrumented && name != "certificates") {  // which is not linked statically
        EXPECT_LT(peak, kMaxPeakKiB);
    }

    host.WriteSettings(name + ".json",
                       ::Test::ReadFile(SENTREL_CHECK_SETTINGS "/" + name + ".json"));
    PluginProcess again(host, host.CommandLine(listener.Port()));
    EXPECT_EQ(LimitsOf(listener.Receive().body), LimitsOf(post.body)) << "no defaults";
    listener.Answer(200);
    EXPECT_EQ(again.WaitForEnd(), 0);
    EXPECT_EQ(again.StandardError(), "");
}

TEST_P(CheckProgram, ReportsBrokenSettings) {
    host.WriteSettings(name + ".json", "{\n  rubbish");
    PluginProcess plugin(host, host.CommandLine(listener.Port()));
    const ReportListener::Post post = listener.Receive();
    listener.Answer(200);
    EXPECT_EQ(plugin.WaitForEnd(), 0);
    EXPECT_EQ(::Test::ContractFault(post.body, name), "") << post.body;
    EXPECT_EQ(::Test::StatusOf(post.body), 4);
    EXPECT_THAT(::Test::ReasonOf(post.body),
                HasSubstr("/etc/korvex/sentrel/checks/" + name + ".json: line 2, column 3: "));
    EXPECT_EQ(plugin.StandardError(), name + ": " + ::Test::ReasonOf(post.body) + "\n");
}

TEST_P(CheckProgram, ExitsWithAStatusForEachKindOfFailure) {
    PluginProcess refused(host, host.CommandLine(listener.Port()));
    (void)listener.Receive();
    listener.Answer(413);
    EXPECT_EQ(refused.WaitForEnd(), 1);
    EXPECT_THAT(refused.StandardError(), HasSubstr(name + ": the report is not stored: "));

    PluginProcess misused(host, {name, "-h"});
    EXPECT_EQ(misused.WaitForEnd(), 2);
    EXPECT_THAT(misused.StandardError(), HasSubstr("usage: PLUGIN "));

    PluginProcess nameless(host, {});
    EXPECT_EQ(nameless.WaitForEnd(), 2);
}

INSTANTIATE_TEST_SUITE_P(All, CheckProgram,
                         testing::Values("bonds", "certificates", "cpu", "filesystem", "guests",
                                         "kernel", "memory", "memory-errors", "network", "raid",
                                         "sensors", "units"),
                         [](const auto& row) {
                             std::string name = row.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

}  // namespace
