#include "ctl/doctor/host.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace Ctl {

namespace {

// The permissions that the mode grants that user, as R_OK, W_OK and X_OK; root has all.
int WaysOf(const struct stat& status, const RunUser& user) {
    constexpr mode_t kAnyExecute = S_IXUSR | S_IXGRP | S_IXOTH;
    if (user.user == 0) {
        const bool isRunnable = S_ISDIR(status.st_mode) || (status.st_mode & kAnyExecute) != 0;
        return R_OK | W_OK | (isRunnable ? X_OK : 0);
    }
    const bool isMember =
        status.st_gid == user.group ||
        std::find(user.groups.begin(), user.groups.end(), status.st_gid) != user.groups.end();
    const unsigned shift = status.st_uid == user.user ? 6 : isMember ? 3 : 0;
    return static_cast<int>((status.st_mode >> shift) & 7);
}

const char* WordFor(int missing) {
    return (missing & W_OK) != 0 ? "written" : (missing & R_OK) != 0 ? "read" : "entered";
}

}  // namespace

std::optional<struct stat> StatOf(const std::string& path) {
    struct stat status{};
    if (::stat(path.c_str(), &status) == 0) {
        return status;
    }
    const int error = errno;
    if (error == ENOENT || error == ENOTDIR) {
        return std::nullopt;
    }
    throw CannotInspect("cannot inspect " + path, error);
}

std::optional<AccessFault> FindAccessFault(const std::string& path, const RunUser& user, int ways) {
    std::filesystem::path target = std::filesystem::path(path);
    if (!target.has_filename()) {
        target = target.parent_path();  // removes the trailing slash
    }
    std::filesystem::path reached;
    for (const std::filesystem::path& part : target) {
        reached /= part;
        const std::optional<struct stat> status = StatOf(reached.string());
        if (!status) {
            return AccessFault{reached.string() + " is missing", ""};
        }
        const bool isAbove = reached != target;
        const int missing = (isAbove ? X_OK : ways) & ~WaysOf(*status, user);
        if (missing != 0) {
            return AccessFault{reached.string() + " (" + OwnerAndMode(*status) + ") cannot be " +
                                   WordFor(missing) + " by the daemon's user, " +
                                   NameOfUser(user.user),
                               isAbove ? "chmod a+x " + reached.string() : ""};
        }
    }
    return std::nullopt;
}

std::string OwnerAndMode(const struct stat& status) {
    std::array<char, 8> mode{};
    (void)std::snprintf(mode.data(), mode.size(), "%04o", status.st_mode & 07777);  // fits
    return NameOfUser(status.st_uid) + ", " + mode.data();
}

}  // namespace Ctl
