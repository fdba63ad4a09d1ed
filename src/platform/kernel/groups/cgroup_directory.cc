#include "platform/kernel/groups/cgroup_directory.h"

#include "platform/kernel/groups/member_processes.h"
#include "platform/sys/read_file.h"

#include <cerrno>
#include <charconv>
#include <memory>
#include <optional>
#include <sstream>

#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>

namespace Kernel {

namespace {

static_assert(sizeof(ino_t) == sizeof(std::int64_t), "an inode number must hold a cgroup's id");

constexpr int kOpenDirectory = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
// Plugins may create cgroups in their group; deeper ones than this are ignored.
constexpr int kMaxDepth = 4;
// The bound for reading a file of a cgroup: the pids of kMaxCountedProcesses processes, names, or a
// number.
constexpr std::size_t kMaxFileBytes = 16384;

struct CloseStream {
    void operator()(DIR* stream) const { (void)::closedir(stream); }  // read only
};

std::optional<std::uint64_t> ParseNumber(std::string_view text) {
    std::uint64_t number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} ? std::optional(number) : std::nullopt;
}

}  // namespace

int CgroupDirectory::Open(const std::string& path, CgroupDirectory& opened) {
    const int error = OpenAt(AT_FDCWD, path.c_str(), opened);
    return error == ENOTDIR || error == ELOOP ? ENOENT : error;
}

int CgroupDirectory::OpenChild(const std::string& name, CgroupDirectory& opened) const {
    return OpenAt(directory.Get(), name.c_str(), opened);
}

int CgroupDirectory::OpenAt(int base, const char* path, CgroupDirectory& opened) {
    opened.directory.Reset(::openat(base, path, kOpenDirectory));
    return opened.directory.IsOpen() ? 0 : errno;
}

bool CgroupDirectory::IsFrozen(int descriptor) {
    CgroupDirectory cgroup;
    int error = OpenAt(descriptor, ".", cgroup);
    // Upwards to the mount, above which there is no cgroup, or to the root directory.
    for (std::int64_t below = 0; error == 0 && cgroup.IsCgroup2() && cgroup.Id() != below;) {
        if (cgroup.Read("cgroup.freeze").starts_with('1')) {
            return true;
        }
        below = cgroup.Id();
        error = cgroup.OpenChild("..", cgroup);
    }
    return false;
}

bool CgroupDirectory::IsCgroup2() const {
    struct statfs status{};
    return ::fstatfs(directory.Get(), &status) == 0 && status.f_type == CGROUP2_SUPER_MAGIC;
}

std::int64_t CgroupDirectory::Id() const {
    struct stat status{};
    return ::fstat(directory.Get(), &status) == 0 ? static_cast<std::int64_t>(status.st_ino) : 0;
}

std::vector<CgroupDirectory::Child> CgroupDirectory::Children() const {
    std::vector<Child> children;
    Sys::OwnedFd again(::openat(directory.Get(), ".", kOpenDirectory));  // for the stream
    const std::unique_ptr<DIR, CloseStream> stream(again.IsOpen() ? ::fdopendir(again.Get())
                                                                  : nullptr);
    if (!stream) {
        return children;
    }
    (void)again.Release();  // now owned by the stream
    // NOLINTNEXTLINE(concurrency-mt-unsafe): only this function uses the stream
    while (const dirent* entry = ::readdir(stream.get())) {
        if (entry->d_type == DT_DIR && entry->d_name[0] != '.') {
            children.push_back({entry->d_name, static_cast<std::int64_t>(entry->d_ino)});
        }
    }
    return children;
}

GroupMemory CgroupDirectory::Memory() const {
    GroupMemory memory;
    for (const Child& child : Children()) {
        CgroupDirectory opened;
        if (OpenChild(child.name, opened) == 0) {  // else it was removed in the meantime
            memory.childrenPeak += opened.PeakKB();
        }
    }
    if (const auto bytes = ParseNumber(Read("memory.peak"))) {
        memory.peak = *bytes / 1024;
        return memory;
    }
    std::vector<pid_t> pids;
    AddOwnProcesses(pids);
    memory.peak = SumResidentKB(pids) + memory.childrenPeak;
    return memory;
}

std::uint64_t CgroupDirectory::PeakKB() const {
    if (const auto bytes = ParseNumber(Read("memory.peak"))) {
        return *bytes / 1024;
    }
    return SumResidentKB(Processes());
}

std::vector<pid_t> CgroupDirectory::Processes() const {
    std::vector<pid_t> pids;
    AddProcesses(0, pids);
    return pids;
}

void CgroupDirectory::AddProcesses(int depth, std::vector<pid_t>& pids) const {
    AddOwnProcesses(pids);
    if (depth == kMaxDepth) {
        return;
    }
    for (const Child& child : Children()) {
        CgroupDirectory opened;
        if (OpenChild(child.name, opened) == 0) {
            opened.AddProcesses(depth + 1, pids);
        }
    }
}

void CgroupDirectory::AddOwnProcesses(std::vector<pid_t>& pids) const {
    const std::string text = Read("cgroup.procs");
    std::size_t start = 0;
    for (std::size_t end = text.find('\n');
         end != std::string::npos && pids.size() < kMaxCountedProcesses;
         end = text.find('\n', start)) {
        const auto pid = ParseNumber(std::string_view(text).substr(start, end - start));
        if (pid.value_or(0) != 0) {  // 0: a process in another pid namespace
            pids.push_back(static_cast<pid_t>(*pid));
        }
        start = end + 1;
    }
}

std::uint64_t CgroupDirectory::ReservationKB() const {
    return ParseNumber(Read("memory.min")).value_or(0) / 1024;
}

bool CgroupDirectory::OffersMemory() const {
    std::istringstream controllers(Read("cgroup.controllers"));
    for (std::string name; controllers >> name;) {
        if (name == "memory") {
            return true;
        }
    }
    return false;
}

int CgroupDirectory::EnableMemory() const { return Write("cgroup.subtree_control", "+memory"); }

int CgroupDirectory::Reserve(std::uint64_t bytes) const {
    return Write("memory.min", std::to_string(bytes));
}

int CgroupDirectory::EnableProcesses() const { return Write("cgroup.subtree_control", "+pids"); }

int CgroupDirectory::LimitMemory(std::uint64_t bytes) const {
    return Write("memory.max", bytes == 0 ? "max" : std::to_string(bytes));
}

int CgroupDirectory::LimitProcesses(unsigned count) const {
    return Write("pids.max", count == 0 ? "max" : std::to_string(count));
}

std::uint64_t CgroupDirectory::MemoryLimitKB() const {
    return ParseNumber(Read("memory.max")).value_or(0) / 1024;
}

unsigned CgroupDirectory::ProcessLimit() const {
    return static_cast<unsigned>(ParseNumber(Read("pids.max")).value_or(0));
}

std::uint64_t CgroupDirectory::MemoryKills() const {
    std::istringstream events(Read("memory.events"));
    std::uint64_t count = 0;
    for (std::string name; events >> name >> count;) {
        if (name == "oom_kill") {
            return count;
        }
    }
    return 0;
}

int CgroupDirectory::MoveHere() const { return Write("cgroup.procs", "0"); }

int CgroupDirectory::SetFrozen(bool frozen) const {
    return Write("cgroup.freeze", frozen ? "1" : "0");
}

// The file's first kMaxFileBytes; empty if it does not exist.
std::string CgroupDirectory::Read(const char* name) const {
    const Sys::OwnedFd file(::openat(directory.Get(), name, O_RDONLY | O_CLOEXEC));
    std::string text;
    (void)Sys::ReadAll(file.Get(), kMaxFileBytes, text);  // EBADF when it is not open
    return text;
}

int CgroupDirectory::Write(const char* name, std::string_view text) const {
    const Sys::OwnedFd file(::openat(directory.Get(), name, O_WRONLY | O_CLOEXEC));
    if (!file.IsOpen() || ::write(file.Get(), text.data(), text.size()) < 0) {
        return errno;
    }
    return 0;
}

}  // namespace Kernel
