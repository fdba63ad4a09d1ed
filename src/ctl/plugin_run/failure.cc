#include "ctl/plugin_run/failure.h"

#include "ctl/host/run_user.h"
#include "platform/kernel/groups/groups.h"
#include "platform/sys/host_root.h"
#include "plugins/resource_group.h"

#include <cerrno>
#include <cstdint>

#include <sys/stat.h>
#include <unistd.h>

namespace Ctl {

namespace {

const std::string kGroup = Sentrel::kPluginGroupPath;

// Repeats the check that the launch has made.
Failure ExplainRefusal() {
    std::int64_t id = 0;
    const int error = Kernel::Groups().FindId(kGroup, id);
    if (error == ENOENT) {
        return Failure("the resource group " + kGroup +
                           " is missing, so the daemon cannot start the plugin either",
                       "create it: sentrelctl group ensure");
    }
    if (error != 0) {
        return {"cannot use the resource group " + kGroup, error, "run this as root"};
    }
    return Failure(
        "the running kernel lacks clone3, pidfds or close_range, or a sandbox forbids them",
        "run this on the host itself, on Linux 5.9 or newer");
}

bool IsRegularFile(const std::string& path) {
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// The advice for an error number that may come from the file or from entering the group.
std::string AdviceFor(int error, const std::string& file) {
    switch (error) {
        case ENOENT:
            return "it is a link to nothing, or the interpreter in its first line is missing";
        case ENOEXEC:
            return "give a script a first line such as \"#!/bin/sh\", or install the program for "
                   "this processor";
        case ETXTBSY:
            return "a process has it open for writing; install new versions with mv, not with cp";
        case EBUSY:
            return "its resource group is frozen; write 0 to cgroup.freeze of the group, or of the "
                   "cgroup above it that was frozen";
        case ETIMEDOUT:
            return "reading it timed out; check its disk or network mount";
        case ELOOP:
            return "it is a link that leads to itself; point it at the program";
        case EACCES:
        case EPERM:
            if (!IsRegularFile(file)) {
                return "it is not a regular file; replace it with a program or script";
            }
            return ::access(file.c_str(), X_OK) != 0
                       ? "make it executable: chmod +x " + file
                       : "this user may not start it in the resource group " + kGroup +
                             "; run this as root";
        default:
            return "check the limits of memory and processes";
    }
}

}  // namespace

Failure ExplainFailure(const Sentrel::Plugin& plugin, const Sentrel::Launch& launch) {
    if (launch.result == Sentrel::Launch::Result::Refused) {
        return ExplainRefusal();
    }
    const std::string file = Sys::HostPath(plugin.GetPath());
    return {"cannot start the plugin " + plugin.GetName(), launch.error,
            AdviceFor(launch.error, file)};
}

Failure ExplainUserFailure(const Sentrel::Plugin& plugin, uid_t user, int error) {
    const std::string file = Sys::HostPath(plugin.GetPath());
    return {
        "cannot start the plugin " + plugin.GetName() + " as the daemon's user " + NameOfUser(user),
        error, "let that user execute " + file + " and enter the directories above it"};
}

}  // namespace Ctl
