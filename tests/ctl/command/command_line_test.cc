// The command line and the help of the real program: what is understood, and what each mistake is
// told.
#include "support/descriptors.h"
#include "support/tool_run.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

#include <fcntl.h>

namespace Test {
namespace {

using testing::HasSubstr;

TEST(CommandLine, ReportsEachMistakeInOneLineWithStatus2) {
    struct Row {
        std::vector<std::string> arguments;
        const char* error;
    };
    const Row rows[] = {
        {{}, "a command is missing; see \"sentrelctl --help\""},
        {{"grop"}, "unknown command \"grop\"; did you mean \"group\"?"},
        {{"gr\noup"}, "unknown command \"gr\uFFFDoup\"; did you mean \"group\"?"},
        {{"group"},
         "\"group\" needs one of its commands: ensure, show, kill; see \"sentrelctl group "
         "--help\""},
        {{"group", "make"}, "unknown command \"group make\"; see \"sentrelctl group --help\""},
        {{"group", "show", "all"},
         "\"group show\" takes no argument \"all\"; see \"sentrelctl group show --help\""},
        {{"group", "show", "--all"},
         "unknown option \"--all\"; see \"sentrelctl group show --help\""},
        {{"--json", "group", "show"},
         "unknown option \"--json\" before a command; see \"sentrelctl --help\""},
        {{"group", "shwo"}, "unknown command \"group shwo\"; did you mean \"group show\"?"},
        {{"group", "show", "--jsno"}, "unknown option \"--jsno\"; did you mean \"--json\"?"},
        {{"group", "show", "--json=yes"},
         "option \"--json\" takes no value; see \"sentrelctl group show --help\""},
        {{"group", "show", "--root"}, "option \"--root\" needs a value: write --root DIR"},
        {{"group", "--root", "--json", "show"},
         "option \"--root\" needs a value: write --root DIR"},
        {{"group", "show", "--root", "host"},
         "--root=host is a relative path; use the absolute path of a directory"},
    };
    for (const Row& row : rows) {
        const ToolResult result = RunTool(row.arguments);
        EXPECT_EQ(result.error, "sentrelctl: " + std::string(row.error) + "\n");
        EXPECT_EQ(result.status, 2) << row.error;
        const bool asJson = std::count(row.arguments.begin(), row.arguments.end(), "--json") != 0;
        EXPECT_EQ(result.output.substr(0, 9), asJson ? "{\"error\":" : "") << row.error;
    }
}

TEST(CommandLine, PrintsFailuresInJsonToo) {
    const ToolResult result = RunTool({"token", "inspect", "--json", "/none"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.error.substr(0, 12), "sentrelctl: ");
    EXPECT_THAT(result.output,
                testing::MatchesRegex("\\{\"error\":\\{\"message\":\".+\",\"advice\":"
                                      "\".*\",\"code\":1\\}\\}\n"));
}

TEST(CommandLine, RefusesAnInvalidRootFromTheEnvironment) {
    const ToolResult result = RunTool({"group", "show"}, {"SENTREL_ROOT=/dev/null/host"});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.error, HasSubstr("sentrelctl: cannot use SENTREL_ROOT=/dev/null/host"));
}

TEST(CommandLine, PrintsHelpWithoutAHost) {
    struct Row {
        std::vector<std::string> arguments;
        std::vector<const char*> parts;
    };
    const Row rows[] = {
        {{"--help"}, {"Usage: sentrelctl COMMAND", "group ensure", "group show", "--root DIR"}},
        {{"-h"}, {"Usage: sentrelctl COMMAND"}},
        {{"--version"}, {"sentrelctl "}},
        {{"help"}, {"Usage: sentrelctl COMMAND"}},
        {{"help", "group", "show"}, {"Usage: sentrelctl group show"}},
        {{"group", "--help"}, {"Usage: sentrelctl group COMMAND", "group ensure", "group show"}},
        {{"group", "ensure", "--help"},
         {"Usage: sentrelctl group ensure [--json] [--root DIR]",
          "Example:\n  sentrelctl group ensure\n", "plugin_resource_pool_size_MB"}},
        {{"--root", "nowhere", "group", "show", "--help"},
         {"Usage: sentrelctl group show", "Example:\n  sentrelctl group show --json\n"}},
    };
    for (const Row& row : rows) {
        const ToolResult result = RunTool(row.arguments);
        EXPECT_EQ(result.status, 0) << row.parts.front();
        EXPECT_EQ(result.error, "");
        for (const char* part : row.parts) {
            EXPECT_THAT(result.output, HasSubstr(part));
        }
    }
}

TEST(CommandLine, FailsIfTheResultCannotBeWritten) {
    const Sys::OwnedFd full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    const ToolResult result = RunToolInto(full, {"--help"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.error, HasSubstr("cannot write to standard output"));
    EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 1);
}

TEST(CommandLine, EndsSilentlyWhenNobodyReadsItsOutput) {
    Pipe pipe;
    pipe.reader.Reset();
    const ToolResult result = RunToolInto(pipe.writer, {"--help"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.error, "");
}

}  // namespace
}  // namespace Test
