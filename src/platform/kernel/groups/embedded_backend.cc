#include "platform/kernel/groups/embedded_backend.h"

#include "platform/kernel/groups/member_processes.h"
#include "platform/pellmar/exceptions.h"

#include <algorithm>
#include <cerrno>

namespace Kernel {

namespace {

constexpr const char* kNoHierarchy = "no writable cgroup v2 hierarchy";

[[noreturn]] void ThrowNotFound(std::string_view path) {
    throw Pellmar::NotFoundException("resource group " + std::string(path) +
                                     " does not exist in this process, which cannot write to a "
                                     "cgroup v2 hierarchy; run it as root, or set "
                                     "SENTREL_CGROUP_ROOT to a cgroup that this user can write to");
}

}  // namespace

EmbeddedBackend::EmbeddedBackend(ProcessTable& processes) : processes(processes) {}

int EmbeddedBackend::FindId(std::string_view path, std::int64_t& id) {
    const Sys::MutexLock guard(lock);
    const auto found = ids.find(path);
    if (found == ids.end()) {
        return ENOENT;
    }
    id = found->second;
    return 0;
}

bool EmbeddedBackend::Knows(std::int64_t id) {
    const Sys::MutexLock guard(lock);
    return std::any_of(ids.begin(), ids.end(),
                       [id](const auto& entry) { return entry.second == id; });
}

int EmbeddedBackend::ListMembers(std::int64_t id, std::vector<std::int64_t>&) {
    return Knows(id) ? 0 : ENOENT;
}

int EmbeddedBackend::ReadMemory(std::int64_t id, GroupMemory& memory) {
    if (!Knows(id)) {
        return ENOENT;
    }
    memory = {SumResidentKB(processes.MembersOf(id)), 0};
    return 0;
}

int EmbeddedBackend::OpenPlace(std::string_view path, GroupPlace& place) {
    return FindId(path, place.id);
}

std::string EmbeddedBackend::Ensure(std::string_view path, unsigned) {
    if (SplitGroupPath(path).empty()) {
        throw Pellmar::InvalidArgumentException("\"" + std::string(path) +
                                                "\" is not a valid resource group");
    }
    const Sys::MutexLock guard(lock);
    if (ids.find(path) == ids.end()) {
        ids.emplace(path, ++lastId);
    }
    return kNoHierarchy;
}

std::string EmbeddedBackend::Limit(std::string_view, const GroupLimits&) { return kNoHierarchy; }

GroupState EmbeddedBackend::Show(std::string_view path) {
    GroupState state;
    if (FindId(path, state.id) != 0) {
        ThrowNotFound(path);
    }
    const std::vector<pid_t> members = processes.MembersOf(state.id);
    state.memory = {SumResidentKB(members), 0};
    state.processes = DescribeProcesses(members);
    return state;
}

}  // namespace Kernel
