// What the kernel permits a spawned program.
#include "platform/kernel/spawn/sandbox.h"

#include "platform/kernel/spawn_fixture.h"

#include <gtest/gtest.h>

#include <string>

#include <unistd.h>

namespace KernelTest {
namespace {

using EmbeddedSpawn = EmbeddedTest;

// Each script prints what happened to one attempt. Only the kernel's files are written to outside
// the permitted directories, so the test needs none of its own there.
TEST_F(EmbeddedSpawn, ConfinesASandboxedProgramAsFarAsTheKernelCan) {
    const int version = Kernel::LandlockVersion();
    const bool hasLandlock = version > 0;
    const bool scopesSignals = version >= Kernel::kLandlockWithSignals;
    const std::string self = std::to_string(::getpid());
    const auto attempt = [](const std::string& command) {
        return "{ " + command + "; } >/dev/null 2>&1 && echo done || echo refused";
    };
    struct Row {
        const char* what;
        std::string script;
        bool isRefused;
    };
    const Row rows[] = {
        {"writing a file", attempt("echo x > /proc/$$/comm"), hasLandlock},
        {"looking into another process", attempt("readlink /proc/" + self + "/cwd"), hasLandlock},
        {"a signal to another", attempt("kill -0 " + self), scopesSignals},
        {"a signal to its own child", attempt("sleep 1000 & kill $!"), false},
        {"a file below /tmp",
         attempt("a=$(mktemp /tmp/sentrel-test-XXXXXX); b=$(mktemp -d); "
                 "mv $a $b/c; echo x > $b/c; rm -r $b"),
         version == 1},  // the first version forbids moving files between directories
        {"a device", attempt("echo x > /dev/null"), false},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(OutputOf(row.script), "done\n") << row.what;
        EXPECT_EQ(OutputOf(row.script, Kernel::Confinement::Sandbox),
                  row.isRefused ? "refused\n" : "done\n")
            << row.what;
    }
    EXPECT_EQ(OutputOf("exec grep NoNewPrivs /proc/self/status", Kernel::Confinement::Sandbox),
              "NoNewPrivs:\t1\n");
}

TEST_F(EmbeddedSpawn, RaisesTheOomScoreOfTheProgram) {
    const std::string raised = std::to_string(Kernel::kOomScoreAdjust);
    EXPECT_EQ(OutputOf("until grep -qx " + raised + " /proc/$$/oom_score_adj; do :; done; echo ok"),
              "ok\n");
    EXPECT_NE(OutputOf("cat /proc/" + std::to_string(::getpid()) + "/oom_score_adj"),
              raised + "\n");
}

}  // namespace
}  // namespace KernelTest
