// "plugin list", "plan", "check" and "new" by the real program, on a host of the test's own with a
// real daemon for what is posted.
#include "ctl/post/check.h"
#include "ctl/reports/name_conflicts.h"
#include "support/plugin_process.h"
#include "support/tool_host.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace Test {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kScript = "#!/bin/sh\n";

class PluginCommands : public ToolHost {
  protected:
    std::string PathOf(const std::string& name) const {
        return host.Root() + "/usr/lib/korvex/sentrel/plugins/bin/" + name;
    }
    void AddPlugin(const std::string& name, const std::string& text, const std::string& entry,
                   fs::perms mode = fs::perms(0755)) const {
        WriteFile(PathOf(name), text);
        fs::permissions(PathOf(name), mode);
        host.WriteStoreEntry(name, entry);
    }
    Json JsonOf(std::vector<std::string> arguments) const {
        arguments.emplace_back("--json");
        return Json::parse(OutputOf(arguments));
    }
};

TEST_F(PluginCommands, PlanShowsEachSlotAndGuaranteedRunTime) {
    AddPlugin("a", kScript, R"({"frequency": "slow"})");
    AddPlugin("b", kScript, R"({"frequency": "Medium"})");
    AddPlugin("c", kScript, "{}");
    AddPlugin("d", kScript, R"({"frequency": "fast", "log_level": "Debugging"})");
    AddPlugin("e", kScript, R"({"enabled": false})");
    const Json plan = JsonOf({"plugin", "plan"});
    struct Row {
        const char* name;
        int firstRun;
        int period;
        int guaranteed;
        std::vector<std::string> mayBeEndedBy;
    };
    const Row rows[] = {
        {"c", 30, 300, 30, {"b", "a"}},
        {"d", 60, 300, 30, {"b", "a"}},
        {"b", 90, 3600, 30, {"c", "a"}},
        {"a", 120, 86400, 210, {"c", "b"}},  // until c comes again
    };
    ASSERT_EQ(plan["plugins"].size(), std::size(rows));
    for (std::size_t index = 0; index < std::size(rows); ++index) {
        const Json& plugin = plan["plugins"][index];
        EXPECT_EQ(plugin["name"], rows[index].name);
        EXPECT_EQ(plugin["firstRunSeconds"], rows[index].firstRun) << plugin;
        EXPECT_EQ(plugin["periodSeconds"], rows[index].period) << plugin;
        EXPECT_EQ(plugin["guaranteedSeconds"], rows[index].guaranteed) << plugin;
        EXPECT_EQ(plugin["mayBeEndedBy"], rows[index].mayBeEndedBy) << plugin;
    }
    EXPECT_EQ(plan["plugins"][1]["commandLine"],
              (Json{"/usr/lib/korvex/sentrel/plugins/bin/d", "++group=sentrel-plugins,mem=40", "-u",
                    "http://localhost:9996", "--loglevel=debug"}));
    EXPECT_FALSE(plan.contains("daemon"));
    EXPECT_THAT(OutputOf({"plugin", "list"}), HasSubstr("\ne     disabled  -            -  "));
}

TEST_F(PluginCommands, ShowWhatTheRunningDaemonKnows) {
    AddPlugin("old", kScript, R"({"enabled": true, "frequency": "fast", "log_level": "info"})");
    StartDaemon();
    AddPlugin("new", kScript, R"({"frequency": "fast"})");
    const Json plan = JsonOf({"plugin", "plan"})["plugins"];
    EXPECT_FALSE(plan[0].contains("nextLaunch")) << plan;  // of the new one
    EXPECT_TRUE(plan[1].contains("nextLaunch")) << plan;
    EXPECT_THAT(plan.dump(), Not(HasSubstr("nextLaunchEstimate")));
    const Json list = JsonOf({"plugin", "list"})["plugins"];
    EXPECT_EQ(list[0]["isKnownToDaemon"], false);
    EXPECT_EQ(list[1]["lastRun"]["state"], "none");
    EXPECT_THAT(Run({"plugin", "check", "new"}).output, HasSubstr("unknown to the running daemon"));
    EXPECT_THAT(Run({"plugin", "check", "old"}).output, HasSubstr("ok "));

    daemon->Kill();
    EXPECT_FALSE(JsonOf({"plugin", "plan"})["plugins"][1].contains("nextLaunch"));
    EXPECT_FALSE(JsonOf({"plugin", "list"})["plugins"][1].contains("isKnownToDaemon"));
}

TEST_F(PluginCommands, CheckFindsWhyAPluginDoesNotWork) {
    struct Row {
        const char* text;
        const char* entry;
        unsigned mode;
        const char* finding;
        int status = 1;
    };
    const Row rows[] = {
        {kScript, R"({"enabled": true, "frequency": "FASTER"})", 0755, "\"FASTER\" counts as fast",
         0},
        {kScript, R"({"enabled": true, "frequency": "hourly"})", 0755,
         "\"hourly\" is ignored; fast is used", 0},
        {kScript, "{", 0755, "probe.json:1:2"},
        {kScript, "{}", 0644, "cannot be executed by the user"},
        {kScript, "{}", 0757, "is writable by everybody", 0},
        {"#!/bin/sh\r\n", "{}", 0755, "lines that end in CR LF"},
        {"#! /no/such/sh -e\n", "{}", 0755, "needs the interpreter /no/such/sh, which is missing"},
        {"#!sh\n", "{}", 0755, "does not name an interpreter by its full path"},
        {"#!/usr/bin/env sh -e\n", "{}", 0755, "-> write #!/usr/bin/env -S sh -e"},
        {"#!/usr/bin/env no-such-program", "{}", 0755, "look for no-such-program"},
        {"echo\n", "{}", 0755, "neither an ELF program nor a script"},
        {"", "{}", 0755, "is empty"},
        {"\x7f"
         "ELF",
         "{}", 0755, "for another processor"},
    };
    for (const Row& row : rows) {
        AddPlugin("probe", row.text, row.entry, fs::perms(row.mode));
        const ToolResult result = Run({"plugin", "check", PathOf("probe")});
        EXPECT_EQ(result.status, row.status) << row.text << row.entry << result.output;
        EXPECT_THAT(result.output, HasSubstr(row.finding)) << row.text << row.entry;
    }
}

TEST_F(PluginCommands, ReportAFaultyEntryInTheSameWords) {
    AddPlugin("cpu", kScript, R"({"enabled": "yes", "frequency": "fast", "log_level": "info"})");
    for (const std::vector<std::string>& command : {std::vector<std::string>{"plugin", "list"},
                                                    {"plugin", "check", "cpu"},
                                                    {"config", "check"}}) {
        EXPECT_THAT(Run(command).output,
                    HasSubstr("\"enabled\" is a string, not a boolean, so it counts as missing"));
    }
}

TEST_F(PluginCommands, CheckFollowsLinksAndReadsReports) {
    for (const auto& [name, target] : {std::pair("loop", "loop"), std::pair("broken", "nowhere")}) {
        fs::create_symlink(target, PathOf(name));
        host.WriteStoreEntry(name, R"({"frequency": "fast"})");
    }
    AddPlugin("cpu", kScript, R"({"frequency": "fast"})");
    WriteFile(ReportDirectory() + "/cpu-0.json",
              R"({"structured": {"name": "cpu", "time": "2024-03-05T14:07:09"},)"
              R"("unstructured": {}})");
    fs::create_symlink(ReportDirectory() + "/cpu-0.json", ReportDirectory() + "/cpu.json");
    const ToolResult result = Run({"plugin", "check"});
    EXPECT_EQ(result.status, 1);
    for (const char* finding :
         {"a link that leads to itself", "a link to nowhere, which is missing",
          "invalid report cpu: structured.time"}) {
        EXPECT_THAT(result.output, HasSubstr(finding));
    }
}

TEST_F(PluginCommands, NewPluginsWorkAsTheyAre) {
    StartDaemon();
    for (const std::string language : {"sh", "python", "cpp"}) {
        const std::string name = "new." + language;
        const std::string program = host.Base() + name;
        const std::string made = OutputOf({"plugin", "new", name, "--language", language,
                                           "--directory", host.Base(), "--frequency", "slow"});
        EXPECT_THAT(made, HasSubstr("Created " + program));
        ExpectFailure(
            Run({"plugin", "new", name, "--language", language, "--directory", host.Base()}),
            "already exists");
        if (language == "cpp") {
            std::string compile = "g++ -std=c++17 -Wall -Wextra -Werror ";
            compile.append(program).append(".cc -o ").append(program);
            // NOLINTNEXTLINE(cert-env33-c,concurrency-mt-unsafe): this very command is documented
            ASSERT_EQ(std::system(compile.c_str()), 0);
        }
        EXPECT_EQ(Run({"plugin", "check", program}).status, 0);
        const PluginHost plugin(program, name);
        fs::copy(SENTREL_PYTHON_LIBRARY,  // as if it were installed
                 fs::path(plugin.Executable()).replace_filename("sentrel.py"));
        PluginProcess run(plugin, plugin.CommandLine(9996));
        EXPECT_EQ(run.WaitForEnd(), 0);
        EXPECT_EQ(run.StandardError(), "");
        const std::string report = ReadFile(ReportDirectory() + "/" + name + ".json");
        EXPECT_THAT(Ctl::FindProblems(report, name), testing::IsEmpty()) << report;
        EXPECT_EQ(Json::parse(report)["structured"]["status"], 0) << report;
        EXPECT_TRUE(Json::parse(report)["unstructured"]["metrics"].contains("used")) << report;
    }
}

TEST_F(PluginCommands, NewWrapsACheckCommand) {
    const std::string wrap = host.Root() + "/usr/lib/korvex/sentrel/wrap";
    const std::string file = host.Root() + "/etc/korvex/sentrel/wrap/disk.json";
    AddPlugin("other", kScript, "{}");
    WriteFile(wrap, kScript);
    fs::permissions(wrap, fs::perms(0755));
    const std::string made =
        OutputOf({"plugin", "new", "disk", "--wrap", "--", "/bin/echo", "-w", "10%"});
    EXPECT_THAT(made, HasSubstr("To remove it:\n  rm " + file + " " + PathOf("disk") + " "));
    EXPECT_EQ(Json::parse(ReadFile(file)), Json({{"command", {"/bin/echo", "-w", "10%"}}}));
    EXPECT_EQ(fs::canonical(PathOf("disk")), fs::canonical(wrap));
    EXPECT_THAT(Run({"plugin", "check", "disk"}).output, Not(HasSubstr("error")));
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"--wrap"},
                                               {"--wrap", "--", "echo"},
                                               {"--", "/bin/echo"},
                                               {"--wrap", "--language", "sh", "--", "/bin/echo"}}) {
        std::vector<std::string> all{"plugin", "new", "x"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        EXPECT_EQ(Run(all).status, 2) << testing::PrintToString(arguments);
    }
    WriteFile(file, R"({"command": ["/nonsense"]})");
    EXPECT_THAT(Run({"plugin", "check", "disk"}).output, HasSubstr("cannot run /nonsense: "));
    fs::remove(file);
    EXPECT_THAT(Run({"plugin", "check", "disk"}).output, HasSubstr("cannot use " + file + ": "));
    WriteFile(file, "{}");
    fs::remove(PathOf("disk"));
    EXPECT_THAT(Run({"plugin", "check"}).output, HasSubstr("configures a plugin that is missing"));
}

TEST_F(PluginCommands, NewRefusesInvalidNames) {
    AddPlugin("cpu", kScript, "{}");
    for (const char* name : {"a b", ".cpu", "cpu-1", "CPU", "sentrel"}) {
        ExpectFailure(Run({"plugin", "new", name}), "invalid plugin name ");
    }
    ExpectFailure(Run({"plugin", "new", "cpu"}), "already exists");
}

TEST(NameConflicts, ArePairsThatShareFiles) {
    struct Row {
        std::vector<std::string> names;
        std::size_t conflicts;
    };
    const Row rows[] = {
        {{"cpu", "cpu-0"}, 1}, {{"cpu", "cpu-3"}, 0}, {{".cpu", "cpu"}, 1}, {{"cpu", ".cpu-2"}, 1},
        {{"cpu", "CPU"}, 1},   {{"CPU-1", "cpu"}, 0}, {{"cpu", "cpu"}, 0},  {{"a.b", "aXb"}, 0},
        {{"cpu", "cpu.0"}, 0}, {{"a-0", "a-0-1"}, 1},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Ctl::FindNameConflicts(row.names).size(), row.conflicts)
            << testing::PrintToString(row.names);
    }
}

}  // namespace
}  // namespace Test
