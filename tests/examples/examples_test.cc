// The example plugins, run as the daemon runs plugins.
#include "support/plugin_process.h"
#include "support/report_contract.h"
#include "support/report_listener.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using Test::PluginHost;
using Test::PluginProcess;
using Test::ReportListener;
using testing::HasSubstr;
using testing::StartsWith;

struct Example {
    const char* file;
    const char* name;
    const char* settingsFile;
};

void PrintTo(const Example& example, std::ostream* stream) { *stream << example.file; }

// A script is told by the kernel where it is; it has no argv[0] of the daemon's.
class Examples : public testing::TestWithParam<Example> {
  protected:
    const PluginHost host{std::string(SENTREL_EXAMPLES "/") + GetParam().file, GetParam().name};
    const std::string name = GetParam().name;
};

TEST_P(Examples, PostAReport) {
    ReportListener listener;
    PluginProcess plugin(host, host.CommandLine(listener.Port()));
    const ReportListener::Post post = listener.Receive();
    listener.Answer(200);
    EXPECT_EQ(plugin.WaitForEnd(), 0);
    EXPECT_EQ(plugin.StandardError(), "");
    EXPECT_THAT(post.head, StartsWith("POST /" + name + " HTTP/1.1\r\n"));
    EXPECT_THAT(post.head, HasSubstr("\r\nContent-Type: application/json\r\n"));
    EXPECT_EQ(::Test::ContractFault(post.body, name), "") << post.body;
}

TEST_P(Examples, FailWhenTheReportIsRefused) {
    ReportListener listener;
    PluginProcess plugin(host, host.CommandLine(listener.Port()));
    (void)listener.Receive();
    listener.Answer(413);
    EXPECT_EQ(plugin.WaitForEnd(), 1);
    EXPECT_THAT(plugin.StandardError(), testing::AllOf(StartsWith(name + ": "), HasSubstr("413")));
}

TEST_P(Examples, SayWhenTheirSettingsAreBroken) {
    host.WriteSettings(GetParam().settingsFile, "rubbish");
    ReportListener listener;
    PluginProcess plugin(host, host.CommandLine(listener.Port()));
    const ReportListener::Post post = listener.Receive();
    listener.Answer(200);
    EXPECT_EQ(plugin.WaitForEnd(), 0);
    EXPECT_EQ(::Test::ContractFault(post.body, name), "") << post.body;
    EXPECT_EQ(::Test::StatusOf(post.body), 4) << post.body;
    EXPECT_THAT(plugin.StandardError(), HasSubstr("correct or remove this file"));
}

TEST_P(Examples, SayHowTheyAreUsed) {
    PluginProcess plugin(host, {host.Executable()});
    EXPECT_EQ(plugin.WaitForEnd(), 2);
    EXPECT_THAT(plugin.StandardError(), HasSubstr("usage: PLUGIN ++group="));
}

INSTANTIATE_TEST_SUITE_P(All, Examples,
                         testing::Values(Example{"loadavg.sh", "loadavg", "loadavg.conf"},
                                         Example{"temperature.py", "temperature",
                                                 "temperature.json"}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
