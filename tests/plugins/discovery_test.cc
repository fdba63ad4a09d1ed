// Which entries become plugins, in which queue, and what the log says of each.
#include "plugins/discovery.h"

#include "plugin_host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace {

using PluginTest::PluginHost;
using PluginTest::StartLog;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace fs = std::filesystem;

struct FrequencyRow {
    const char* text;
    std::uint32_t frequency;
};

TEST(Discovery, TakesTheQueueWhoseNameTheTextBeginsWith) {
    for (const FrequencyRow& row :
         {FrequencyRow{"FAST", 0}, FrequencyRow{"fastest", 0}, FrequencyRow{"Medium", 1},
          FrequencyRow{"mediumX", 1}, FrequencyRow{"slow", 2}, FrequencyRow{"med", 0},
          FrequencyRow{"hourly", 0}, FrequencyRow{"", 0}, FrequencyRow{" slow", 0}}) {
        Sentrel::PluginInfo info;
        info.frequency = 2;
        Sentrel::SetFrequency(info, row.text);
        EXPECT_EQ(info.frequency, row.frequency) << row.text;
    }
}

struct LogLevelRow {
    const char* text;
    const char* logLevel;
};

TEST(Discovery, TakesTheLogLevelThatTheTextBeginsWith) {
    for (const LogLevelRow& row :
         {LogLevelRow{"INFO", "info"}, LogLevelRow{"information", "info"},
          LogLevelRow{"Critical", "critical"}, LogLevelRow{"debug", "debug"},
          LogLevelRow{"warn", "before"}, LogLevelRow{"err", "before"}, LogLevelRow{"", "before"}}) {
        Sentrel::PluginInfo info;
        info.logLevel = "before";
        Sentrel::SetLogLevel(info, row.text);
        EXPECT_EQ(info.logLevel, row.logLevel) << row.text;
    }
}

// The lines about one plugin, from its configuration to its queue.
std::vector<std::string> LinesAbout(const std::string& name, const char* entry,
                                    const char* component = "oru") {
    std::vector<std::string> about;
    for (const std::string& line : StartLog("{}", [&](const PluginHost& host) {
             host.AddScript(name, "exit 0");
             if (entry != nullptr) {
                 host.Configure(name, entry, component);
             }
         })) {
        if (line.find(name) != std::string::npos) {
            about.push_back(line);
        }
    }
    return about;
}

TEST(Discovery, SaysWhatTheStoreSaysOfAPlugin) {
    EXPECT_THAT(
        LinesAbout("probe", R"({"enabled": true, "frequency": "SLOWLY", "log_level": "Info"})"),
        ElementsAre("5 PluginLauncher: probe plugin configuration: log_level=Info frequency=SLOWLY",
                    "7 PluginLauncher: Successfully loaded configuration for: probe",
                    "6 PluginLauncher: Plugin added to slow queue: probe"));
}

TEST(Discovery, EnablesAPluginWhoseEntryIsEmpty) {
    EXPECT_THAT(LinesAbout("probe", "{}"),
                ElementsAre("3 PluginLauncher: Failed to locate Tabulon key: probe.frequency",
                            "3 PluginLauncher: Failed to locate Tabulon key: probe.log_level",
                            "3 PluginLauncher: Failed to locate Tabulon key: probe.enabled",
                            "7 PluginLauncher: Successfully loaded configuration for: probe",
                            "6 PluginLauncher: Plugin added to fast queue: probe"));
}

TEST(Discovery, LeavesADisabledPluginOut) {
    EXPECT_THAT(
        LinesAbout("probe", R"({"enabled": false, "frequency": "medium", "log_level": "error"})"),
        ElementsAre("5 PluginLauncher: probe plugin disabled",
                    "7 PluginLauncher: Successfully loaded configuration for: probe",
                    "5 PluginLauncher: Plugin disabled by configuration: probe"));
}

TEST(Discovery, SkipsAPluginWithoutAnEntryOrWithABrokenOne) {
    for (const char* entry : {static_cast<const char*>(nullptr), "{ no JSON"}) {
        EXPECT_THAT(
            LinesAbout("probe", entry),
            ElementsAre(
                StartsWith("3 PluginLauncher: Failed to create Tabulon config: Exception : "),
                "3 PluginLauncher: Failed to load configuration for: probe"));
    }
}

TEST(Discovery, LooksTestPluginsUpUnderTheirOwnComponent) {
    const char* entry = R"({"enabled": true, "frequency": "medium", "log_level": ""})";
    EXPECT_THAT(LinesAbout("test_probe", entry, "oru_dev_only"),
                Contains("6 PluginLauncher: Plugin added to medium queue: test_probe"));
    EXPECT_THAT(LinesAbout("test_probe", entry, "oru"),
                Contains("3 PluginLauncher: Failed to load configuration for: test_probe"));
    EXPECT_THAT(LinesAbout("probe_test_", entry, "oru"),
                Contains("6 PluginLauncher: Plugin added to medium queue: probe_test_"));
}

TEST(Discovery, SkipsDirectoriesAndTakesWhateverElseThereIs) {
    const auto lines = StartLog("{}", [](const PluginHost& host) {
        fs::create_directory(host.EntryPath("folder"));
        fs::create_symlink(host.EntryPath("folder"), host.EntryPath("link-to-folder"));
        fs::create_symlink("/no/such/file", host.EntryPath("broken-link"));
        fs::create_symlink("loop", host.EntryPath("loop"));
        host.Configure("broken-link", R"({"enabled": true})");
        host.Configure("loop", R"({"enabled": true})");
    });
    const std::string directory = Sentrel::kPluginDirectory;
    EXPECT_THAT(lines,
                Contains("6 PluginLauncher: Skipping the directory: " + directory + "folder"));
    EXPECT_THAT(lines, Contains("6 PluginLauncher: Skipping the directory: " + directory +
                                "link-to-folder"));
    EXPECT_THAT(lines, Contains("6 PluginLauncher: Plugin added to fast queue: broken-link"));
    EXPECT_THAT(lines, Contains("6 PluginLauncher: Plugin added to fast queue: loop"));
}

TEST(Discovery, LetsAMissingPluginDirectoryEndTheStart) {
    const auto lines = StartLog("{}", [](const PluginHost& host) {
        fs::remove(fs::path(host.EntryPath("")).parent_path());
    });
    EXPECT_THAT(lines, ElementsAre(HasSubstr("threw: Cannot open the directory ")));
}

}  // namespace
