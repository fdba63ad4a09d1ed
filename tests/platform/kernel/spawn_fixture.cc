#include "platform/kernel/spawn_fixture.h"

#include "platform/kernel/groups/cgroup_backend.h"
#include "platform/kernel/groups/embedded_backend.h"
#include "platform/kernel/groups/groups.h"
#include "platform/kernel/spawn/process_table.h"
#include "platform/sys/owned_fd.h"
#include "platform/sys/pid_fd.h"
#include "support/deadline.h"

#include <array>
#include <memory>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

namespace KernelTest {

void CgroupTest::SetUp() {
    if (!root.Problem().empty()) {
        GTEST_SKIP() << root.Problem();
    }
    Kernel::UseGroups(std::make_unique<Kernel::CgroupBackend>(root.Path()));
    (void)Kernel::EnsureGroup(kGroup, 40);  // whether it is reserved depends on the host
}

void EmbeddedTest::SetUp() {
    Kernel::UseGroups(std::make_unique<Kernel::EmbeddedBackend>(Kernel::ProcessTable::Spawned()));
    (void)Kernel::EnsureGroup(kGroup, 40);  // never reserved
}

Spawned SpawnProgram(const std::vector<std::string>& argv, Kernel::Confinement confinement) {
    std::vector<std::string> copies = argv;
    const std::vector<char*> pointers = ::Test::PointersTo(copies);
    std::array<char*, 1> environment{};
    const std::array<std::int32_t, 3> descriptors{0, 1, 2};
    Spawned spawned;
    const Kernel::SpawnRecord record{.pidAddress = reinterpret_cast<std::uint64_t>(&spawned.pid)};
    spawned.result = Kernel::Spawn(argv[0].c_str(), pointers.data(), environment.data(), -1,
                                   descriptors.data(), &record, confinement);
    return spawned;
}

std::vector<std::string> ShellCommand(const std::string& script) {
    return {"/bin/sh", "-c", script, kGroupArgument};
}

std::string OutputOf(const std::string& script, Kernel::Confinement confinement) {
    ::Test::Pipe pipe;
    const Sys::OwnedFd previous(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3));
    (void)::dup2(pipe.writer.Get(), STDOUT_FILENO);
    pipe.writer.Reset();
    const Spawned spawned = SpawnProgram(ShellCommand(script), confinement);
    (void)::dup2(previous.Get(), STDOUT_FILENO);
    EXPECT_EQ(spawned.result.status, 0);
    return ::Test::ReadToEnd(pipe.reader.Get());
}

void WaitUntilGone(pid_t pid) {
    const Sys::PidFd process = Sys::PidFd::Open(pid);
    if (!process.IsOpen()) {
        return;
    }
    const ::Test::Deadline deadline;
    deadline.Await(process.Get(), POLLIN, "the end of a child");
    while (process.Signal(0) == 0) {
        if (deadline.MillisecondsLeft() == 0) {
            throw std::runtime_error("a child has become a zombie");
        }
        ::sched_yield();  // ended; the kernel is about to reap it
    }
}

void WaitUntilStopped(pid_t pid) {
    siginfo_t stopped{};
    ::Test::OrThrow(::waitid(P_PID, static_cast<id_t>(pid), &stopped, WSTOPPED),
                    "waiting for a child to stop");
}

}  // namespace KernelTest
