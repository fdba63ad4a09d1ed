// Defines the Landlock interface itself, since the kernel headers of Debian 12 end at version 2.
#include "platform/kernel/spawn/sandbox.h"

#include "platform/pellmar/log/logger.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Kernel {

namespace {

constexpr int kWithRefer = 2;
constexpr std::uint64_t kAccessTruncate = std::uint64_t{1} << 14;
constexpr std::uint64_t kScopeSignal = std::uint64_t{1} << 1;
constexpr std::uint64_t kEveryWrite =
    LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR | LANDLOCK_ACCESS_FS_REMOVE_FILE |
    LANDLOCK_ACCESS_FS_MAKE_CHAR | LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_MAKE_REG |
    LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_MAKE_FIFO | LANDLOCK_ACCESS_FS_MAKE_BLOCK |
    LANDLOCK_ACCESS_FS_MAKE_SYM;

// struct landlock_ruleset_attr of version 6. Older kernels accept it if the members they lack are
// zero.
struct RulesetAttributes {
    std::uint64_t files = 0;
    std::uint64_t network = 0;
    std::uint64_t scopes = 0;
};

std::uint64_t WritesOf(int version) {
    return kEveryWrite | (version >= kWithRefer ? LANDLOCK_ACCESS_FS_REFER : 0) |
           (version >= kLandlockWithTruncate ? kAccessTruncate : 0);
}

}  // namespace

int LandlockVersion() {
    const long version = ::syscall(SYS_landlock_create_ruleset, nullptr, std::size_t{0},
                                   LANDLOCK_CREATE_RULESET_VERSION);
    return version > 0 ? static_cast<int>(version) : 0;
}

int CreateSandboxRuleset(Sys::OwnedFd& ruleset) {
    const int version = LandlockVersion();
    if (version == 0) {
        return 0;
    }
    const RulesetAttributes attributes{
        .files = WritesOf(version), .scopes = version >= kLandlockWithSignals ? kScopeSignal : 0};
    ruleset.Reset(static_cast<int>(
        ::syscall(SYS_landlock_create_ruleset, &attributes, sizeof(attributes), 0)));
    if (!ruleset.IsOpen()) {
        return errno;
    }
    for (const char* path : kWritableDirectories) {
        const Sys::OwnedFd directory(::open(path, O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!directory.IsOpen()) {
            continue;  // a missing directory: nothing can be written there
        }
        const landlock_path_beneath_attr rule{attributes.files, directory.Get()};
        if (::syscall(SYS_landlock_add_rule, ruleset.Get(), LANDLOCK_RULE_PATH_BENEATH, &rule, 0) !=
            0) {
            return errno;
        }
    }
    return 0;
}

void ProtectFromPlugins() {
    if (::geteuid() == 0 || LandlockVersion() != 0) {
        return;
    }
    (void)::prctl(PR_SET_DUMPABLE, 0);  // cannot fail for 0
    Pellmar::Service::LogInternal(
        Pellmar::Service::Logger::CreateLogger(Pellmar::Service::Logger::sDefaultLogger, "Kernel"),
        5,
        "Landlock is not available, so plugins can write every file that the daemon can; the "
        "daemon's memory is protected by making it not dumpable");
}

}  // namespace Kernel
