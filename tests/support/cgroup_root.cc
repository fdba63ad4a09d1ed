#include "support/cgroup_root.h"

#include "platform/kernel/groups/cgroup_location.h"
#include "platform/sys/owned_fd.h"
#include "support/deadline.h"
#include "support/descriptors.h"
#include "support/host_directory.h"
#include "support/network_namespace.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Test {

namespace {

// Makes the hierarchy that is mounted at `found`, or mounted nowhere if that is empty, writable for
// this process alone. Returns its mount point; empty when the kernel refuses.
std::string MakeWritable(const std::string& found) {
    try {
        EnterMountNamespace();
    } catch (const std::system_error&) {
        return "";
    }
    const std::string mount = found.empty() ? "/sys/fs/cgroup" : found;
    const unsigned long flags = found.empty() ? 0 : MS_REMOUNT | MS_BIND;
    return ::mount("none", mount.c_str(), "cgroup2", flags, nullptr) == 0 ? mount : "";
}

void RemoveTree(const std::string& directory) {
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        if (entry.is_directory()) {
            RemoveTree(entry.path());
        }
    }
    OrThrow(::rmdir(directory.c_str()), "removing " + directory);
}

}  // namespace

CgroupRoot::CgroupRoot() {
    static int count = 0;
    const auto found = Kernel::FindCgroupMount(ReadFile("/proc/self/mountinfo"));
    std::string mount = found ? found->directory : "";
    if (mount.empty() || ::access(mount.c_str(), W_OK) != 0) {
        mount = MakeWritable(mount);
    }
    if (mount.empty()) {
        problem = "this host has no writable cgroup v2 hierarchy, and only root can mount one";
        return;
    }
    path = mount + "/sentrel-test-" + std::to_string(::getpid()) + "-" + std::to_string(++count);
    if (::mkdir(path.c_str(), 0755) != 0) {
        const std::system_error error(errno, std::generic_category(), "creating " + path);
        if (::geteuid() == 0 && std::getenv("CI") != nullptr) {
            throw error;
        }
        problem = error.what();
    }
}

CgroupRoot::~CgroupRoot() {
    if (!problem.empty()) {
        return;
    }
    try {
        std::ofstream(path + "/cgroup.kill") << "1";
        WaitUntilEmpty();
        RemoveTree(path);
    } catch (const std::exception& exception) {
        std::cerr << "the test's cgroup " << path << " stays behind: " << exception.what() << '\n';
    }
}

void CgroupRoot::WaitUntilEmpty() const {
    const std::string events = path + "/cgroup.events";
    const Sys::OwnedFd file(::open(events.c_str(), O_RDONLY | O_CLOEXEC));
    const Deadline deadline;
    for (;;) {
        std::array<char, 256> text{};
        OrThrow(static_cast<int>(::pread(file.Get(), text.data(), text.size() - 1, 0)), events);
        if (std::string(text.data()).find("populated 0") != std::string::npos) {
            return;
        }
        deadline.Await(file.Get(), POLLPRI, "the end of all processes in " + path);
    }
}

}  // namespace Test
