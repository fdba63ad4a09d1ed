// What becomes of plugins that cannot be started or will not end, and that the next one comes in
// time all the same.
#include "platform/kernel/groups/cgroup_backend.h"
#include "platform/kernel/groups/groups.h"
#include "platform/kernel/spawn/process_table.h"
#include "platform/sys/owned_fd.h"
#include "plugin_host.h"
#include "plugins/resource_group.h"
#include "support/cgroup_root.h"
#include "support/deadline.h"
#include "support/descriptors.h"
#include "support/host_directory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace {

using PluginTest::DrivenLauncher;
using PluginTest::kEndless;
using std::chrono::seconds;

namespace fs = std::filesystem;

class HostilePlugin : public testing::Test {
  protected:
    std::string Path() const { return host.EntryPath("a-hostile"); }

    // Its first batch, in a cgroup below `root` if there is one. Something stands at Path().
    void Launch(const std::string& root = "") {
        host.AddScript("b-good", kEndless, "{}");
        host.Configure("a-hostile", "{}");
        launcher.emplace(host);
        if (!root.empty()) {
            Kernel::UseGroups(std::make_unique<Kernel::CgroupBackend>(root));
            (void)Kernel::EnsureGroup(Sentrel::kPluginGroupPath, 0);  // reserves nothing
        }
        launcher->Advance(seconds(30), 1);
        pid = launcher->LastPid();
    }

    // The next batch, which also ends what runs too long.
    void ExpectTheNextInTime() {
        launcher->Advance(seconds(30), 1);
        EXPECT_TRUE(
            launcher->Log().Contains("6 PluginLauncher: Pushed plugin "
                                     "/usr/lib/korvex/sentrel/plugins/bin/b-good ("));
    }

    std::size_t CountOfPid(const std::string& what) const {
        return launcher->Log().Count(" PluginLauncher: " + std::to_string(pid) + " " + what);
    }

    const PluginTest::PluginHost host;
    std::optional<DrivenLauncher> launcher;
    int pid = 0;
};

TEST_F(HostilePlugin, ThatCannotBeExecutedIsReported) {
    fs::create_symlink("/no/such/file", Path());
    Launch();
    EXPECT_TRUE(launcher->Log().Contains(
        "3 PluginLauncher: Plugin launch failed: No such file or directory"));
    ExpectTheNextInTime();
}

TEST_F(HostilePlugin, ThatIgnoresSigtermIsSignalledOnce) {
    const std::string ready = host.MakeOutput();
    host.AddScript("a-hostile", "trap '' TERM; echo ready > " + ready + "\n" + kEndless);
    Launch();
    EXPECT_EQ(::Test::ReadFile(ready), "ready\n");
    const int ignoring = pid;
    ExpectTheNextInTime();
    launcher->Advance(seconds(270), 1);  // a second one beside it
    EXPECT_EQ(CountOfPid("killed"), 1U);
    EXPECT_EQ(CountOfPid(""), 1U);
    EXPECT_EQ(Kernel::Kill(ignoring, 0), 0);
}

// Each process starts the next and ends, so that nobody knows its number in time.
TEST_F(HostilePlugin, ThatForksWithoutEndStaysInItsGroup) {
    const ::Test::CgroupRoot root;
    if (!root.Problem().empty()) {
        GTEST_SKIP() << root.Problem();
    }
    const std::string output = host.MakeOutput();
    host.AddScript("a-hostile", "echo $$ > " + output + "\n\"$0\" &");
    Launch(root.Path());
    (void)::Test::ReadFile(output);
    PluginTest::WaitUntilEnded(pid);
    (void)::Test::ReadFile(output);  // of another one
    ExpectTheNextInTime();
    EXPECT_EQ(CountOfPid("already killed"), 1U);
    std::ofstream(root.Path() + "/cgroup.kill") << "1";
    root.WaitUntilEmpty();
    launcher.reset();
}

TEST_F(HostilePlugin, ThatIsReplacedWhileItRunsIsTerminatedAndTheNewOneLaunched) {
    const std::string output = host.MakeOutput();
    host.AddScript("a-hostile", "echo old > " + output + "\n" + kEndless);
    Launch();
    EXPECT_EQ(::Test::ReadFile(output), "old\n");
    host.AddScript("c-new", "echo new > " + output + "\n" + kEndless);
    fs::rename(host.EntryPath("c-new"), Path());
    ExpectTheNextInTime();
    EXPECT_EQ(CountOfPid("killed"), 1U);
    launcher->Advance(seconds(270), 1);
    EXPECT_EQ(::Test::ReadFile(output), "new\n");
}

// In place of standard error of this process, and so of its plugins: a pipe.
class ErrorPipe {
  public:
    ErrorPipe() : own(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
        (void)::dup2(pipe.writer.Get(), STDERR_FILENO);
        pipe.writer.Reset();
    }
    ~ErrorPipe() { (void)::dup2(own.Get(), STDERR_FILENO); }
    ErrorPipe(const ErrorPipe&) = delete;
    ErrorPipe& operator=(const ErrorPipe&) = delete;

    void AwaitSomething() const { ::Test::Deadline().Await(pipe.reader.Get(), POLLIN, "output"); }

  private:
    ::Test::Pipe pipe;
    const Sys::OwnedFd own;
};

TEST_F(HostilePlugin, ThatFloodsItsOutputBlocksOnlyItself) {
    const ErrorPipe pipe;  // is full soon, and nobody reads it
    host.AddScript("a-hostile", "exec yes >&2");
    Launch();
    pipe.AwaitSomething();
    ExpectTheNextInTime();
    EXPECT_EQ(CountOfPid("killed"), 1U);
    PluginTest::WaitUntilEnded(pid);
}

}  // namespace
