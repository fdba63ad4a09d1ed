// Measures the cost of a launch for a daemon that uses much memory: the spawn call against
// posix_spawn of the same program, alternating, and the resource group's checks before each launch.
#include "platform/kernel/spawn/spawn.h"
#include "command_line.h"
#include "measurement.h"
#include "platform/kernel/groups/cgroup_backend.h"
#include "platform/kernel/groups/cgroup_location.h"
#include "platform/kernel/groups/embedded_backend.h"
#include "platform/kernel/groups/groups.h"
#include "platform/kernel/interface/kis.h"
#include "platform/kernel/spawn/process_table.h"
#include "platform/sys/owned_fd.h"
#include "platform/sys/pid_fd.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Bench {
namespace {

constexpr char kUsage[] =
    "usage: bench_spawn [--megabytes N] [--launches N]\n"
    "Touches that much memory, launches /bin/true that often each way and prints one line of "
    "JSON:\n"
    "medians in microseconds. Uses a cgroup of its own where it may make one.\n";
constexpr const char* kProgram = "/bin/true";
constexpr const char* kGroup = "host/pax/kolbern/sentrel-plugins";
constexpr const char* kGroupArgument = "++group=sentrel-plugins,mem=40";

// A resource group for the time of the run: a cgroup of its own, or in the process table.
class Group {
  public:
    Group() {
        const Kernel::GroupRoot found = Kernel::LocateGroupRoot();
        if (found.kind == Kernel::GroupRoot::Kind::None) {
            Kernel::UseGroups(
                std::make_unique<Kernel::EmbeddedBackend>(Kernel::ProcessTable::Spawned()));
        } else {
            root = found.directory + "/sentrel-bench-" + std::to_string(::getpid());
            if (::mkdir(root.c_str(), 0755) != 0) {
                throw std::system_error(errno, std::generic_category(), "making " + root);
            }
            Kernel::UseGroups(std::make_unique<Kernel::CgroupBackend>(root));
        }
        (void)Kernel::EnsureGroup(kGroup, 0);  // without a reservation nothing can be missing
    }
    ~Group() {
        std::string directory = root + "/" + kGroup;
        for (; !root.empty() && directory.size() >= root.size();
             directory.resize(directory.rfind('/'))) {
            if (::rmdir(directory.c_str()) != 0) {
                std::perror(("the group stays behind: " + directory).c_str());
                return;
            }
        }
    }
    Group(const Group&) = delete;
    Group& operator=(const Group&) = delete;

    bool IsCgroup() const { return !root.empty(); }

  private:
    std::string root;
};

// The arguments of a launch: both ways use the same command line and an empty environment.
struct Launch {
    std::string program = kProgram;
    std::string group = kGroupArgument;
    std::array<char*, 3> argv{program.data(), group.data(), nullptr};
    std::array<char*, 1> environment{};
};

std::int32_t SpawnOnce(const Launch& launch) {
    const std::array<std::int32_t, 3> descriptors{0, 1, 2};
    std::int32_t pid = 0;
    const Kernel::SpawnRecord record{.pidAddress = reinterpret_cast<std::uint64_t>(&pid)};
    const Kernel::SpawnResult result = Kernel::Spawn(
        kProgram, launch.argv.data(), launch.environment.data(), -1, descriptors.data(), &record);
    if (result.status != 0) {
        throw std::system_error(-result.error, std::generic_category(), "the spawn call");
    }
    return pid;
}

// The guarantees for a plugin as far as posix_spawn can give them: default signals, a new session.
class PosixSpawn {
  public:
    PosixSpawn() {
        sigset_t all;
        sigset_t none;
        (void)::sigfillset(&all);
        (void)::sigemptyset(&none);
        (void)::posix_spawnattr_init(&attributes);
        (void)::posix_spawnattr_setsigdefault(&attributes, &all);
        (void)::posix_spawnattr_setsigmask(&attributes, &none);
        (void)::posix_spawnattr_setflags(
            &attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSID);
    }
    ~PosixSpawn() { (void)::posix_spawnattr_destroy(&attributes); }
    PosixSpawn(const PosixSpawn&) = delete;
    PosixSpawn& operator=(const PosixSpawn&) = delete;

    pid_t Once(const Launch& launch) const {
        pid_t pid = 0;
        const int error = ::posix_spawn(&pid, kProgram, nullptr, &attributes, launch.argv.data(),
                                        launch.environment.data());
        if (error != 0) {
            throw std::system_error(error, std::generic_category(), "posix_spawn");
        }
        return pid;
    }

  private:
    posix_spawnattr_t attributes{};
};

std::int64_t FindId() {
    std::int64_t id = -1;
    KIS_ParamList* const list = KIS_ParamListCreate(0, 1);
    const bool found = KIS_ParamListAddString(list, kGroup) == 0 &&
                       KIS_Set(KIS_NODE_sched_groupPathNameToID, 0, list, &id, sizeof(id)) == 0;
    KIS_ParamListDestroy(list);
    if (!found) {
        throw std::runtime_error("the group is gone");
    }
    return id;
}

// Everything that the launcher queries from the resource group before a launch.
bool CheckGroup() {
    std::array<char, Kernel::kSignatureDateBytes> date{};
    const char* programDate = nullptr;
    KIS_ParamList* members = nullptr;
    std::array<unsigned char, Kernel::kMemoryStatsBytes> statistics{};
    const bool agrees = KIS_CheckSig(date.data(), date.size(), &programDate) == 0;
    (void)FindId();
    KIS_ParamList* const list = KIS_ParamListCreate(1, 1);
    const bool answered =
        KIS_ParamListAddInt(list, FindId()) == 0 &&
        KIS_GetInstanceListAlloc(KIS_NODE_sched_groups_members_groups, list, &members) == 0 &&
        KIS_Get(KIS_NODE_sched_groups_stats_memoryStats, list, statistics.data(),
                statistics.size()) == 0;
    KIS_ParamListDestroy(members);
    KIS_ParamListDestroy(list);
    return agrees && answered;
}

// Blocks until the program has exited, so that launches do not compete with exiting programs.
void AwaitEnd(pid_t pid) {
    const Sys::PidFd process(Sys::OwnedFd(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0))));
    pollfd entry{process.Get(), POLLIN, 0};
    while (process.IsOpen() && ::poll(&entry, 1, -1) != 1) {
    }
}

// Times `work`, adds a sample, and returns the result.
template <typename Work>
auto Measure(std::vector<std::chrono::nanoseconds>& samples, const Work& work) {
    const Clock::time_point start = Clock::now();
    const auto result = work();
    samples.push_back(Clock::now() - start);
    return result;
}

void Run(std::uint64_t megabytes, std::uint64_t launches) {
    (void)::signal(SIGCHLD, SIG_IGN);  // as the daemon does
    const std::vector<char> touched(megabytes << 20U, 'x');
    const Group group;
    const Launch launch;
    const PosixSpawn posixSpawn;
    std::vector<std::chrono::nanoseconds> spawns;
    std::vector<std::chrono::nanoseconds> posixSpawns;
    std::vector<std::chrono::nanoseconds> checks;
    for (std::uint64_t round = 0; round < launches; ++round) {
        if (!Measure(checks, CheckGroup)) {
            throw std::runtime_error("the resource group's checks fail on this host");
        }
        for (const bool ours : {round % 2 == 0, round % 2 != 0}) {  // each goes first in turn
            AwaitEnd(ours ? Measure(spawns, [&] { return SpawnOnce(launch); })
                          : Measure(posixSpawns, [&] { return posixSpawn.Once(launch); }));
        }
    }
    const double spawn = Percentile(spawns, 0.5);
    const double posix = Percentile(posixSpawns, 0.5);
    (void)std::printf(
        "{\"cgroup\": %s, \"megabytes\": %zu, \"launches\": %zu, \"spawn\": %.1f, "
        "\"posix_spawn\": %.1f, \"ratio\": %.2f, \"checks\": %.1f}\n",
        group.IsCgroup() ? "true" : "false", touched.size() >> 20U, spawns.size(), spawn, posix,
        posix > 0 ? spawn / posix : 0.0, Percentile(checks, 0.5));
}

}  // namespace
}  // namespace Bench

int main(int count, char** arguments) {
    try {
        Bench::CommandLine commandLine(count, arguments);
        const std::uint64_t megabytes = commandLine.TakeNumber("megabytes", 200);
        const std::uint64_t launches = commandLine.TakeNumber("launches", 1000);
        commandLine.RefuseOthers();
        Bench::Run(megabytes, launches);
        return EXIT_SUCCESS;
    } catch (const std::invalid_argument& exception) {
        (void)std::fprintf(stderr, "%s\n%s", exception.what(), Bench::kUsage);
    } catch (const std::exception& exception) {
        (void)std::fprintf(stderr, "bench_spawn: %s\n", exception.what());
    }
    return EXIT_FAILURE;
}
