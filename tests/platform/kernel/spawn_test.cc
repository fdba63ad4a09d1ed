#include "platform/kernel/spawn/spawn.h"

#include "platform/kernel/groups/embedded_backend.h"
#include "platform/kernel/groups/groups.h"
#include "platform/kernel/spawn/process_table.h"
#include "platform/kernel/spawn_fixture.h"
#include "platform/sys/owned_fd.h"
#include "support/deadline.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace KernelTest {
namespace {

void WriteProgram(const std::string& path, std::string_view text, mode_t mode) {
    std::ofstream(path) << text;
    ASSERT_EQ(::chmod(path.c_str(), mode), 0);
}

std::size_t CountDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

// Whether some child has ended and waits for its exit status to be taken.
bool HasZombie() {
    siginfo_t ended{};
    return ::waitid(P_ALL, 0, &ended, WEXITED | WNOHANG | WNOWAIT) == 0 && ended.si_pid != 0;
}

using CgroupSpawn = CgroupTest;
using EmbeddedSpawn = EmbeddedTest;

// Nothing runs in a frozen group. That the call notices it shows also that the child is in the
// group before its first instruction.
TEST_F(CgroupSpawn, RefusesAFrozenGroup) {
    for (const std::string& frozen : {Directory(), root.Path()}) {
        std::ofstream(frozen + "/cgroup.freeze") << "1";
        EXPECT_EQ(SpawnProgram({"/bin/true", kGroupArgument}).result.error, -EBUSY);
        root.WaitUntilEmpty();
        std::ofstream(frozen + "/cgroup.freeze") << "0";
        EXPECT_EQ(SpawnProgram({"/bin/true", kGroupArgument}).result.error, 0);
        root.WaitUntilEmpty();
    }
}

// What a daemon has set and a plugin must not see.
class BusySignals {
  public:
    BusySignals() {
        (void)::signal(SIGPIPE, SIG_IGN);
        (void)::signal(SIGHUP, SIG_IGN);
        (void)::signal(SIGUSR1, [](int) {});
        sigset_t blocked;
        (void)::sigemptyset(&blocked);
        (void)::sigaddset(&blocked, SIGTERM);
        (void)::sigaddset(&blocked, SIGINT);
        (void)::pthread_sigmask(SIG_BLOCK, &blocked, &previous);
    }
    ~BusySignals() {
        (void)::pthread_sigmask(SIG_SETMASK, &previous, nullptr);
        for (const int signal : {SIGPIPE, SIGHUP, SIGUSR1}) {
            (void)::signal(signal, SIG_DFL);
        }
    }
    BusySignals(const BusySignals&) = delete;
    BusySignals& operator=(const BusySignals&) = delete;

  private:
    sigset_t previous{};
};

TEST_F(EmbeddedSpawn, LeaksNothingIntoThePlugin) {
    const BusySignals busy;
    const int leaking = ::dup(STDIN_FILENO);  // not close-on-exec, as if inherited
    struct Row {
        const char* what;
        const char* script;
        const char* expected;
    };
    const Row rows[] = {
        {"descriptors; ls itself opens 3", "exec ls /proc/self/fd", "0\n1\n2\n3\n"},
        {"environment", "wc -c < /proc/$$/environ", "0\n"},
        {"working directory", "exec readlink /proc/self/cwd", "/\n"},
        {"blocked signals", "exec grep SigBlk /proc/self/status", "SigBlk:\t0000000000000000\n"},
        {"ignored signals", "exec grep SigIgn /proc/self/status", "SigIgn:\t0000000000000000\n"},
        {"session of its own", "set -- $(cat /proc/$$/stat); [ $6 = $$ ] && echo $(($5 - $$)) $7",
         "0 0\n"},
        {"command line", "tr '\\0' '\\n' < /proc/$$/cmdline | tail -n 1",
         "++group=sentrel-plugins,mem=40\n"},
        {"waiting for its own children", "sh -c 'exit 7'; echo $?", "7\n"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(OutputOf(row.script), row.expected) << row.what;
    }
    (void)::close(leaking);

    // and changes nothing here
    sigset_t blocked;
    ASSERT_EQ(::pthread_sigmask(SIG_BLOCK, nullptr, &blocked), 0);
    EXPECT_EQ(::sigismember(&blocked, SIGTERM), 1);
    EXPECT_EQ(::sigismember(&blocked, SIGUSR1), 0);
    struct sigaction action{};
    ASSERT_EQ(::sigaction(SIGUSR1, nullptr, &action), 0);
    EXPECT_NE(action.sa_handler, SIG_DFL);
}

TEST_F(EmbeddedSpawn, ReportsWhyTheProgramCouldNotBeExecuted) {
    const ::Test::TemporaryDirectory directory;
    const std::string& base = directory.Path();
    WriteProgram(base + "plain", "#!/bin/sh\n", 0644);
    WriteProgram(base + "no-interpreter", "#!/no/such/interpreter\n", 0755);
    WriteProgram(base + "no-format", "echo hello\n", 0755);
    WriteProgram(base + "empty", "", 0755);
    WriteProgram(base + "good", "#!/bin/true\n", 0755);
    ASSERT_EQ(::symlink("loop", (base + "loop").c_str()), 0);
    ASSERT_EQ(::symlink("nowhere", (base + "broken-link").c_str()), 0);
    const Sys::OwnedFd writer(::open((base + "good").c_str(), O_WRONLY | O_CLOEXEC));
    ASSERT_EQ(::mkdir((base + "folder").c_str(), 0755), 0);
    struct Row {
        std::string path;
        std::vector<std::string> arguments;
        int error;
    };
    const Row rows[] = {
        {base + "missing", {}, ENOENT},
        {base + "folder", {}, EACCES},
        {base + "plain", {}, EACCES},
        {base + "no-interpreter", {}, ENOENT},
        {base + "no-format", {}, ENOEXEC},
        {base + "empty", {}, ENOEXEC},
        {base + "plain/inside", {}, ENOTDIR},
        {base + "loop", {}, ELOOP},
        {base + "broken-link", {}, ENOENT},
        {base + std::string(5000, 'x'), {}, ENAMETOOLONG},
        {"/bin/true", {std::string(200000, 'x')}, E2BIG},
        {base + "good", {}, ETXTBSY},
    };
    for (const Row& row : rows) {
        std::vector<std::string> argv{row.path, kGroupArgument};
        argv.insert(argv.end(), row.arguments.begin(), row.arguments.end());
        const Spawned spawned = SpawnProgram(argv);
        EXPECT_EQ(spawned.result.error, -row.error) << row.path.substr(0, 80);
        EXPECT_NE(spawned.result.status, 0) << row.path.substr(0, 80);
        EXPECT_EQ(spawned.pid, 0) << row.path.substr(0, 80);
    }
    EXPECT_FALSE(HasZombie());
}

TEST_F(EmbeddedSpawn, LeavesNoZombieOfAFailedChildWhereExitStatusesAreKept) {
    const std::string answer = AnswerOfChild([] {
        (void)::signal(SIGCHLD, SIG_DFL);
        const int error = SpawnProgram({"/no/such/program", kGroupArgument}).result.error;
        return std::to_string(error) + (HasZombie() ? " zombie" : " no zombie");
    });
    EXPECT_EQ(answer, std::to_string(-ENOENT) + " no zombie");
}

TEST_F(CgroupSpawn, FollowsAGroupThatWasRecreated) {
    ASSERT_EQ(SpawnProgram({"/bin/true", kGroupArgument}).result.error, 0);
    root.WaitUntilEmpty();
    std::filesystem::remove(Directory());
    EXPECT_EQ(SpawnProgram({"/bin/true", kGroupArgument}).result.error, -ESRCH);
    (void)Kernel::EnsureGroup(kGroup, 40);  // whether it is reserved depends on the host
    const Spawned first = SpawnProgram(ShellCommand("exec sleep 1000"));
    EXPECT_EQ(first.result.error, 0);
    EXPECT_EQ(Kernel::Kill(first.pid, SIGKILL), 0);
    root.WaitUntilEmpty();
    std::filesystem::remove(Directory());
    (void)Kernel::EnsureGroup(kGroup, 40);
    EXPECT_NE(OutputOf("exec cat /proc/self/cgroup").find(std::string(kGroup) + "\n"),
              std::string::npos);
}

TEST_F(CgroupSpawn, RefusesOtherGroups) {
    ASSERT_EQ(::mkdir((Directory() + "-b").c_str(), 0755), 0);
    struct Row {
        const char* argument;
        int error;
    };
    const Row rows[] = {
        {"++group=sentrel-plugins-b,mem=1", 0},
        {"++group=absent,mem=40", ESRCH},
        {"++group=..,mem=40", ESRCH},
        {"++group=.,mem=40", ESRCH},
        {"++group=sentrel-plugins/..,mem=40", EINVAL},
        {"++group=,mem=40", EINVAL},
        {"++group=sentrel-plugins", EINVAL},
        {"++group=sentrel-plugins,mem=", EINVAL},
        {"++group=sentrel-plugins,mem=4x", EINVAL},
        {"+group=sentrel-plugins,mem=40", EINVAL},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(SpawnProgram({"/bin/true", row.argument}).result.error, -row.error)
            << row.argument;
    }
}

TEST_F(EmbeddedSpawn, RefusesUndefinedArguments) {
    pid_t pid = 0;
    const auto errorOf = [&pid](const char* path, std::int32_t descriptorCount,
                                std::int32_t lastDescriptor, const char* variable) {
        const std::vector<const char*> argv{path, kGroupArgument, nullptr};
        const std::vector<const char*> environment{variable, nullptr};
        const std::array<std::int32_t, 3> descriptors{0, 1, lastDescriptor};
        const Kernel::SpawnRecord record{.descriptorCount = descriptorCount,
                                         .pidAddress = reinterpret_cast<std::uint64_t>(&pid)};
        return Kernel::Spawn(path, const_cast<char**>(argv.data()),
                             const_cast<char**>(environment.data()), -1, descriptors.data(),
                             &record)
            .error;
    };
    EXPECT_EQ(errorOf("bin/true", 3, 2, nullptr), -EINVAL);
    EXPECT_EQ(errorOf("/bin/true", 4, 2, nullptr), -EINVAL);
    EXPECT_EQ(errorOf("/bin/true", 3, 3, nullptr), -EINVAL);
    EXPECT_EQ(errorOf("/bin/true", 3, 2, "LD_PRELOAD=/x.so"), -EINVAL);
    EXPECT_EQ(pid, 0);
    EXPECT_EQ(errorOf("/bin/true", 3, 2, nullptr), 0);
    EXPECT_NE(pid, 0);
}

// What is looked at once a process: the root, and real-time signals that were ignored by then.
bool SpawnsInAFreshProcess() {
    const ChildrenIgnored ignored;
    const ::Test::TemporaryDirectory root;
    std::filesystem::create_directories(root.Path() + "bin");
    std::filesystem::copy_file("/bin/true", root.Path() + "bin/true");
    (void)::setenv("SENTREL_ROOT", root.Path().c_str(), 1);
    (void)::signal(SIGRTMIN, SIG_IGN);
    (void)::signal(SIGRTMAX, SIG_IGN);
    Kernel::UseGroups(std::make_unique<Kernel::EmbeddedBackend>(Kernel::ProcessTable::Spawned()));
    (void)Kernel::EnsureGroup(kGroup, 0);  // never reserved
    const bool outside = SpawnProgram({"/bin/sh", kGroupArgument}).result.error == 0;
    const bool inside = SpawnProgram({"/bin/true", kGroupArgument}).result.error == 0;
    std::filesystem::copy_file("/bin/sh", root.Path() + "bin/sh");
    const std::string signals = OutputOf("exec grep SigIgn /proc/self/status");
    return !outside && inside && signals == "SigIgn:\t0000000000000000\n";
}

TEST(SpawnDeathTest, FindsProgramsBelowTheRootOnlyAndResetsRealTimeSignals) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(::_exit(SpawnsInAFreshProcess() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST_F(CgroupSpawn, LeavesNoZombieAndNoDescriptorBehind) {
    constexpr int kSpawns = 1000;
    ASSERT_EQ(SpawnProgram({"/bin/true", kGroupArgument}).result.error, 0);
    const std::size_t before = CountDescriptors();  // those that stay open between spawns included
    for (int count = 0; count < kSpawns; ++count) {
        const Spawned spawned = SpawnProgram({"/bin/true", kGroupArgument});
        ASSERT_EQ(spawned.result.error, 0) << "after " << count;
    }
    root.WaitUntilEmpty();
    const ::Test::Deadline deadline;
    do {  // ended processes are dropped at each Kill, the last as soon as the kernel has reaped it
        EXPECT_EQ(Kernel::Kill(1, 0), -1);
    } while (CountDescriptors() > before && deadline.MillisecondsLeft() > 0);
    EXPECT_LE(CountDescriptors(), before);
    EXPECT_FALSE(HasZombie());
}

}  // namespace
}  // namespace KernelTest
