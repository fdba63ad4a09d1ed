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
        return Failure(
            "there is no resource group " + kGroup + ", so the daemon would not start it either",
            "make it with \"sentrelctl group ensure\"");
    }
    if (error != 0) {
        return {"the resource group " + kGroup + " cannot be used", error, "run this as root"};
    }
    return Failure(
        "the running kernel lacks clone3, pidfds or close_range, or a sandbox takes them away",
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
            return "somebody writes to it; put a new version in place with mv, not with cp";
        case EBUSY:
            return "its resource group is frozen; write 0 to cgroup.freeze of the group, or of the "
                   "cgroup above it that was frozen";
        case ETIMEDOUT:
            return "it could not be read in time; look at the disk or network mount that it is on";
        case ELOOP:
            return "it is a link that leads to itself; point it at the program";
        case EACCES:
        case EPERM:
            if (!IsRegularFile(file)) {
                return "it is no regular file; put a program or script in its place";
            }
            return ::access(file.c_str(), X_OK) != 0
                       ? "make it executable: chmod +x " + file
                       : "this user may not start it in the resource group " + kGroup +
                             "; run this as root";
        default:
            return "look at the limits of memory and of processes";
    }
}

}  // namespace

Failure ExplainFailure(const Sentrel::Plugin& plugin, const Sentrel::Launch& launch) {
    if (launch.result == Sentrel::Launch::Result::Refused) {
        return ExplainRefusal();
    }
    const std::string file = Sys::HostPath(plugin.GetPath());
    return {"the plugin " + plugin.GetName() + " cannot be started", launch.error,
            AdviceFor(launch.error, file)};
}

Failure ExplainUserFailure(const Sentrel::Plugin& plugin, uid_t user, int error) {
    const std::string file = Sys::HostPath(plugin.GetPath());
    return {"the plugin " + plugin.GetName() + " cannot be started as the daemon's user " +
                NameOfUser(user),
            error, "let that user execute " + file + " and enter the directories above it"};
}

}  // namespace Ctl
