// The command line of a plugin: what the daemon composes is understood, all else is refused.
#include "sentrel_check/command_line.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using SentrelCheck::CommandLine;
using SentrelCheck::HostRootOf;
using SentrelCheck::ReadCommandLine;
using SentrelCheck::UsageError;

const std::string kPath = "/usr/lib/korvex/sentrel/plugins/bin/cpu";
const std::string kGroup = "++group=sentrel-plugins,mem=40";
const std::string kUrl = "http://localhost:9996";

TEST(CommandLine, IsReadAsTheDaemonComposesIt) {
    const CommandLine line = ReadCommandLine(
        {kPath, "++group=sentrel-plugins,mem=500", "-u", kUrl, "--loglevel=warning"});
    EXPECT_EQ(line.path, kPath);
    EXPECT_EQ(line.name, "cpu");
    EXPECT_EQ(line.poolSizeMB, 500);
    EXPECT_EQ(line.intake.host, "localhost");
    EXPECT_EQ(line.intake.port, 9996);
    EXPECT_EQ(line.logLevel, "warning");
    EXPECT_EQ(ReadCommandLine({kPath, kGroup, "-u", kUrl}).logLevel, "");
}

TEST(CommandLine, AcceptsAddressesInPlaceOfLocalhost) {
    const struct {
        const char* url;
        const char* host;
    } rows[] = {{"http://127.0.0.1:1", "127.0.0.1"}, {"http://[::1]:65535", "::1"}};
    for (const auto& row : rows) {
        EXPECT_EQ(ReadCommandLine({kPath, kGroup, "-u", row.url}).intake.host, row.host);
    }
}

TEST(CommandLine, IsRefusedInAnyOtherForm) {
    const std::vector<std::vector<std::string>> rows = {
        {},
        {kPath, kGroup, "-u"},
        {kPath, kGroup, "-v", kUrl},
        {kPath, "-u", kUrl, kGroup},
        {kPath, kGroup, "-u", kUrl, "--loglevel=info", "more"},
        {kPath, kGroup, "-u", kUrl, "--loglevel=loud"},
        {kPath, kGroup, "-u", kUrl, "-l"},
        {kPath, "++group=others,mem=40", "-u", kUrl},
        {kPath, "++group=sentrel-plugins,mem=", "-u", kUrl},
        {kPath, "++group=sentrel-plugins,mem=0", "-u", kUrl},
        {kPath, "++group=sentrel-plugins,mem=40M", "-u", kUrl},
        {kPath, "++group=sentrel-plugins,mem=99999999999", "-u", kUrl},
        {kPath, kGroup, "-u", "localhost:9996"},
        {kPath, kGroup, "-u", "https://localhost:9996"},
        {kPath, kGroup, "-u", "http://localhost"},
        {kPath, kGroup, "-u", "http://localhost:0"},
        {kPath, kGroup, "-u", "http://localhost:65536"},
        {kPath, kGroup, "-u", "http://localhost:9996/cpu"},
        {kPath, kGroup, "-u", "http://:9996"},
        {kPath, kGroup, "-u", "http://example.org:9996"},
        {kPath, kGroup, "-u", "http://[127.0.0.1]:9996"},
        {"/usr/lib/a plugin", kGroup, "-u", kUrl},
    };
    for (const std::vector<std::string>& row : rows) {
        EXPECT_THROW((void)ReadCommandLine(row), UsageError) << testing::PrintToString(row);
    }
}

TEST(HostRoot, PrecedesThePluginDirectory) {
    const struct {
        const char* executable;
        const char* root;
    } rows[] = {
        {"/usr/lib/korvex/sentrel/plugins/bin/cpu", ""},
        {"/srv/host/usr/lib/korvex/sentrel/plugins/bin/cpu", "/srv/host"},
        {"/srv/host/usr/lib/korvex/sentrel/plugins/bin/cpu (deleted)", "/srv/host"},
        {"/home/someone/build/bin/checks/cpu", ""},
        {"/srv/usr/lib/korvex/sentrel/plugins/bin/more/cpu", ""},
        {"", ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(HostRootOf(row.executable), row.root) << row.executable;
    }
}

}  // namespace
