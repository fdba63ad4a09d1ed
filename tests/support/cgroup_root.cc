#include "support/cgroup_root.h"

#include "platform/sys/owned_fd.h"
#include "support/deadline.h"
#include "support/descriptors.h"
#include "support/network_namespace.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <mntent.h>
#include <poll.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Test {

namespace {

// Empty when the host has none.
std::string FindMount() {
    std::string directory;
    FILE* const mounts = ::setmntent("/proc/self/mounts", "re");
    while (const mntent* entry = mounts == nullptr ? nullptr : ::getmntent(mounts)) {
        if (std::string(entry->mnt_type) == "cgroup2") {
            directory = entry->mnt_dir;
        }
    }
    if (mounts != nullptr) {
        (void)::endmntent(mounts);  // always succeeds
    }
    return directory;
}

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
    std::vector<std::string> directories{directory};
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        if (entry.is_directory()) {
            directories.push_back(entry.path().string());
        }
    }
    // the deepest first
    std::sort(directories.begin(), directories.end(),
              [](const auto& left, const auto& right) { return left.size() > right.size(); });
    for (const std::string& each : directories) {
        OrThrow(::rmdir(each.c_str()), "removing " + each);
    }
}

}  // namespace

CgroupRoot::CgroupRoot() {
    static int count = 0;
    std::string mount = FindMount();
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
