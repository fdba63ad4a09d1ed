#include "platform/kernel/groups/cgroup_backend.h"

#include "platform/kernel/groups/member_processes.h"
#include "platform/pellmar/exceptions.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <system_error>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace Kernel {

namespace {

constexpr mode_t kDirectoryMode = 0755;
constexpr std::uint64_t kBytesOfMB = 1024 * 1024;

std::string ErrorText(int error) { return std::generic_category().message(error); }

[[noreturn]] void Refuse(const std::string& what, int error) {
    const bool isForbidden = error == EACCES || error == EPERM || error == EROFS;
    throw Pellmar::IOException(
        what, error,
        isForbidden
            ? "run this as root, or set SENTREL_CGROUP_ROOT to a cgroup that this user can write to"
            : "");
}

std::vector<std::string> RequireGroupPath(std::string_view path) {
    std::vector<std::string> segments = SplitGroupPath(path);
    if (segments.empty()) {
        throw Pellmar::InvalidArgumentException(
            "\"" + std::string(path) +
            "\" is not a valid resource group; separate names with \"/\", as in host/pax/NAME");
    }
    return segments;
}

[[noreturn]] void ThrowNotFound(std::string_view path, const std::string& directory) {
    throw Pellmar::NotFoundException(
        "resource group " + std::string(path) + " does not exist (" + directory + ")",
        "create it with \"sentrelctl group ensure\"");
}

CgroupDirectory MakeDirectory(const std::string& directory) {
    if (::mkdir(directory.c_str(), kDirectoryMode) != 0 && errno != EEXIST) {
        Refuse("cannot create the cgroup " + directory, errno);
    }
    CgroupDirectory made;
    if (const int error = CgroupDirectory::Open(directory, made); error != 0) {
        Refuse("cannot open the cgroup " + directory, error);
    }
    return made;
}

// Returns why the children of `directory` cannot use the memory controller; empty on success.
std::string EnableMemory(const CgroupDirectory& cgroup, const std::string& directory) {
    if (!cgroup.OffersMemory()) {
        return directory + " has no memory controller";
    }
    if (const int error = cgroup.EnableMemory(); error != 0) {
        return "cannot enable the memory controller in " + directory + ": " + ErrorText(error);
    }
    return "";
}

std::string Reserve(const CgroupDirectory& cgroup, const std::string& directory,
                    unsigned megabytes) {
    const int error = cgroup.Reserve(megabytes * kBytesOfMB);
    return error == 0 ? "" : "cannot write " + directory + "/memory.min: " + ErrorText(error);
}

}  // namespace

CgroupBackend::CgroupBackend(std::string root) : root(std::move(root)) {}

std::string CgroupBackend::DirectoryOf(std::string_view path) const {
    return root + "/" + std::string(path);
}

int CgroupBackend::Open(std::string_view path, CgroupDirectory& group) const {
    if (SplitGroupPath(path).empty()) {
        return ENOENT;
    }
    const int error = CgroupDirectory::Open(DirectoryOf(path), group);
    if (error != 0) {
        return error;
    }
    return group.IsCgroup2() ? 0 : ENOENT;
}

int CgroupBackend::FindId(std::string_view path, std::int64_t& id) {
    CgroupDirectory group;
    if (const int error = Open(path, group); error != 0) {
        const Sys::MutexLock guard(lock);
        foundGroups.erase(std::string(path));
        return error;
    }
    id = group.Id();
    GroupPlace place{id, std::make_shared<const Sys::OwnedFd>(group.TakeDescriptor())};
    const Sys::MutexLock guard(lock);
    foundGroups.insert_or_assign(std::string(path), std::move(place));
    return 0;
}

int CgroupBackend::OpenById(std::int64_t id, CgroupDirectory& group) {
    std::string path;
    {
        const Sys::MutexLock guard(lock);
        const auto found = std::find_if(foundGroups.begin(), foundGroups.end(),
                                        [id](const auto& entry) { return entry.second.id == id; });
        if (found == foundGroups.end()) {
            return ENOENT;
        }
        path = found->first;
    }
    if (const int error = Open(path, group); error != 0) {
        return error;
    }
    return group.Id() == id ? 0 : ENOENT;  // removed and recreated, it is another group
}

int CgroupBackend::ListMembers(std::int64_t id, std::vector<std::int64_t>& members) {
    CgroupDirectory group;
    if (const int error = OpenById(id, group); error != 0) {
        return error;
    }
    for (const CgroupDirectory::Child& child : group.Children()) {
        members.push_back(child.id);
    }
    return 0;
}

int CgroupBackend::ReadMemory(std::int64_t id, GroupMemory& memory) {
    CgroupDirectory group;
    if (const int error = OpenById(id, group); error != 0) {
        return error;
    }
    memory = group.Memory();
    return 0;
}

std::uint64_t CgroupBackend::CountMemoryKills(std::string_view path) {
    CgroupDirectory group;
    return Open(path, group) == 0 ? group.MemoryKills() : 0;
}

int CgroupBackend::OpenPlace(std::string_view path, GroupPlace& place) {
    if (TakeFound(path, place)) {
        return 0;
    }
    std::int64_t id = 0;
    const int error = FindId(path, id);
    return error != 0 || TakeFound(path, place) ? error : ENOENT;
}

bool CgroupBackend::TakeFound(std::string_view path, GroupPlace& place) {
    const Sys::MutexLock guard(lock);
    const auto found = foundGroups.find(path);
    if (found == foundGroups.end()) {
        return false;
    }
    place = found->second;
    return true;
}

// The controller must be enabled in every directory above the group, and every directory of the
// path needs the reservation: the group only gets what its ancestors reserve too.
std::string CgroupBackend::Ensure(std::string_view path, unsigned reservationMB) {
    CgroupDirectory above;
    if (CgroupDirectory::Open(root, above) != 0 || !above.IsCgroup2()) {
        throw Pellmar::NotFoundException(
            root + " is not a cgroup v2 directory",
            "set SENTREL_CGROUP_ROOT to a cgroup v2 directory, or unset it");
    }
    std::string directory = root;
    std::string problem;
    for (const std::string& segment : RequireGroupPath(path)) {
        if (problem.empty()) {
            problem = EnableMemory(above, directory);
        }
        directory += "/" + segment;
        above = MakeDirectory(directory);
        if (problem.empty()) {
            problem = Reserve(above, directory, reservationMB);
        }
    }
    return problem;
}

CgroupDirectory CgroupBackend::Require(std::string_view path) const {
    (void)RequireGroupPath(path);
    CgroupDirectory group;
    const int error = Open(path, group);
    if (error == ENOENT) {
        ThrowNotFound(path, DirectoryOf(path));
    }
    if (error != 0) {
        Refuse("cannot open the cgroup " + DirectoryOf(path), error);
    }
    return group;
}

// Ensure has enabled the memory controller above the group.
std::string CgroupBackend::Limit(std::string_view path, const GroupLimits& limits) {
    const CgroupDirectory group = Require(path);
    std::string directory = root;
    for (const std::string& segment : SplitGroupPath(path)) {
        CgroupDirectory above;
        if (CgroupDirectory::Open(directory, above) == 0) {
            (void)above.EnableProcesses();  // reported below on failure, since pids.max is missing
        }
        directory += "/" + segment;
    }
    const int memoryError = group.LimitMemory(limits.memoryMB * kBytesOfMB);
    const int processError = group.LimitProcesses(limits.processes);
    if (memoryError != 0) {
        return "cannot write " + directory + "/memory.max: " + ErrorText(memoryError);
    }
    return processError == 0
               ? ""
               : "cannot write " + directory + "/pids.max: " + ErrorText(processError);
}

GroupState CgroupBackend::Show(std::string_view path) {
    const CgroupDirectory group = Require(path);
    GroupState state;
    state.directory = DirectoryOf(path);
    state.id = group.Id();
    state.memory = group.Memory();
    state.reservationKB = group.ReservationKB();
    state.memoryLimitKB = group.MemoryLimitKB();
    state.processLimit = group.ProcessLimit();
    state.processes = DescribeProcesses(group.Processes());
    return state;
}

}  // namespace Kernel
