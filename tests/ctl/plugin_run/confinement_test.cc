#include "ctl/plugin_run/confinement.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Files of root that exist everywhere outside the permitted directories.
TEST(Confinement, FindsTheFilesThatOnlyTheSandboxRefused) {
    const Ctl::RunUser root{.user = 0, .group = 0, .groups = {}};
    const Ctl::RunUser nobody{.user = 65534, .group = 65534, .groups = {}};
    struct Row {
        std::string line;
        Ctl::RunUser user;
        std::string file;
    };
    const Row rows[] = {
        {"/bin/p: 3: cannot create /etc/passwd: Permission denied", root, "/etc/passwd"},
        {"mkdir: cannot create directory '/etc/new': Permission denied", root, "/etc/new"},
        {"[Errno 13] Permission denied: '/etc/passwd'", root, "/etc/passwd"},
        {"open(/etc/passwd): permission denied", root, "/etc/passwd"},
        {"open(/etc/passwd): permission denied", nobody, ""},
        {"rm: cannot remove '/tmp/file': Permission denied", root, ""},
        {"/etc/passwd: No such file or directory", root, ""},
        {"/etc/no/such/place: Permission denied", root, ""},
        {"Permission denied", root, ""},
        {"Permission denied: /", root, "/"},
    };
    for (const Row& row : rows) {
        const std::vector<std::string> files =
            Ctl::FilesRefusedBySandbox(row.line + "\nagain: " + row.line + "\n", row.user);
        EXPECT_EQ(files, row.file.empty() ? std::vector<std::string>()
                                          : std::vector<std::string>({row.file}))
            << row.line;
    }
}

TEST(Confinement, NamesTheMemoryLimitThatKilledThePlugin) {
    Ctl::PluginRun run;
    run.memoryKills = 1;
    run.memoryLimitKB = 262144;
    Ctl::JudgeConfinement(run);
    ASSERT_EQ(run.findings.size(), 1U);
    EXPECT_EQ(run.findings[0].text,
              "the kernel killed 1 process in the plugins' group for lack of memory, at its limit "
              "of 256.0 MiB");
}

}  // namespace
