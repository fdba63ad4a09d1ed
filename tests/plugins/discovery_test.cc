// Which entries become plugins, in which queue, and what the log says of each.
#include "plugins/discovery.h"

#include "plugin_host.h"
#include "plugins/launch.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace {

using PluginTest::PluginHost;
using PluginTest::StartLog;
using testing::ElementsAre;

namespace fs = std::filesystem;

// Level and message of the lines about a plugin, without what the store says is wrong.
std::string LinesAbout(const std::string& name, const std::string& entry, const char* component) {
    constexpr std::string_view kStoresWords = " Exception : ";
    std::string about;
    for (std::string line : StartLog("{}", [&](const PluginHost& host) {
             host.AddScript(name, "exit 0");
             if (!entry.empty()) {
                 host.Configure(name, entry, component);
             }
         })) {
        if (line.find(name) != std::string::npos) {
            line.erase(2, std::string_view("PluginLauncher: ").size());
            about += line.substr(0, line.find(kStoresWords)) + "\n";
        }
    }
    return about;
}

TEST(Discovery, LiftsTheSandboxOnRequestOfTheEntry) {
    const PluginHost host;
    const std::pair<const char*, bool> rows[] = {{R"({})", true},
                                                 {R"({"sandbox": true})", true},
                                                 {R"({"sandbox": "false"})", true},
                                                 {R"({"sandbox": false})", false}};
    host.AddScript("probe", "exit 0");
    for (const auto& [entry, expected] : rows) {
        host.Configure("probe", entry);
        const ::Test::CapturedLog log;
        Sentrel::PluginInfo info;
        Sentrel::ExaminePlugins(Pellmar::Service::Logger::sDefaultLogger,
                                [&info](const Sentrel::PluginEntry& found) { info = found.info; });
        EXPECT_EQ(info.sandbox, expected) << entry;
    }
}

TEST(Discovery, LeavesPluginsOfRootWithoutASandbox) {
    const auto isSandboxedAsNobody = [](bool sandbox) {
        (void)::setuid(65534);  // already another user than root if it fails
        Sentrel::PluginInfo info;
        info.sandbox = sandbox;
        return Sentrel::IsSandboxed(info) ? 0 : 1;
    };
    EXPECT_EXIT(::_exit(isSandboxedAsNobody(true)), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(::_exit(isSandboxedAsNobody(false)), testing::ExitedWithCode(1), "");
    EXPECT_EQ(Sentrel::IsSandboxed({}), ::geteuid() != 0);
}

TEST(Discovery, LogsTheConfigurationOfAPlugin) {
    struct Row {
        std::string name;
        std::string entry;
        const char* component;
        std::string lines;
    };
    const std::string medium = R"({"enabled": true, "frequency": "Mediumly", "log_level": "Info"})";
    const auto accepted = [](const std::string& name) {
        return "5 " + name + " plugin configuration: log_level=Info frequency=Mediumly\n" +
               "7 Successfully loaded configuration for: " + name + "\n" +
               "6 Plugin added to medium queue: " + name + "\n";
    };
    const auto refused = [](const std::string& name) {
        return "3 Failed to create Tabulon config:\n3 Failed to load configuration for: " + name +
               "\n";
    };
    const Row rows[] = {
        {"probe", medium, "oru", accepted("probe")},
        {"test_probe", medium, "oru_dev_only", accepted("test_probe")},
        {"test_probe", medium, "oru", refused("test_probe")},
        {"probe_test_", medium, "oru", accepted("probe_test_")},
        {"probe", "", "oru", refused("probe")},
        {"probe", "{ no JSON", "oru", refused("probe")},
        {"probe", "{}", "oru",
         "3 Failed to locate Tabulon key: probe.frequency\n"
         "3 Failed to locate Tabulon key: probe.log_level\n"
         "3 Failed to locate Tabulon key: probe.enabled\n"
         "7 Successfully loaded configuration for: probe\n"
         "6 Plugin added to fast queue: probe\n"},
        {"probe", R"({"enabled": false, "frequency": "medium"})", "oru",
         "3 Failed to locate Tabulon key: probe.log_level\n"
         "5 probe plugin disabled\n"
         "7 Successfully loaded configuration for: probe\n"
         "5 Plugin disabled by configuration: probe\n"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(LinesAbout(row.name, row.entry, row.component), row.lines)
            << row.name << ' ' << row.entry << ' ' << row.component;
    }
}

TEST(Discovery, SkipsDirectoriesOnly) {
    auto lines = StartLog("{}", [](const PluginHost& host) {
        fs::create_directory(host.EntryPath("folder"));
        fs::create_symlink(host.EntryPath("folder"), host.EntryPath("link-to-folder"));
        fs::create_symlink("/no/such/file", host.EntryPath("broken-link"));
        fs::create_symlink("loop", host.EntryPath("loop"));
        host.Configure("broken-link", R"({"frequency": "slow"})");
        host.Configure("loop", R"({"frequency": "slow"})");
    });
    std::erase_if(lines, [](const std::string& line) { return line[0] != '6'; });
    const std::string skipping = "6 PluginLauncher: Skipping the directory: ";
    const std::string added = "6 PluginLauncher: Plugin added to slow queue: ";
    EXPECT_THAT(
        lines,
        ElementsAre(added + "broken-link", skipping + Sentrel::kPluginDirectory + "folder",
                    skipping + Sentrel::kPluginDirectory + "link-to-folder", added + "loop"));
}

}  // namespace
