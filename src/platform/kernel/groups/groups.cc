#include "platform/kernel/groups/groups.h"

#include "platform/kernel/groups/cgroup_backend.h"
#include "platform/kernel/groups/cgroup_directory.h"
#include "platform/kernel/groups/cgroup_location.h"
#include "platform/kernel/groups/embedded_backend.h"
#include "platform/kernel/spawn/process_table.h"
#include "platform/pellmar/exceptions.h"
#include "platform/pellmar/log/logger.h"
#include "platform/sys/mutex.h"

#include <cerrno>
#include <exception>
#include <string>
#include <utility>

#include <sys/stat.h>

namespace Kernel {

namespace {

using Pellmar::Ref;
using Pellmar::Service::Logger;
using Pellmar::Service::LogInternal;
using Kind = GroupRoot::Kind;

constexpr mode_t kLeafMode = 0755;

// The one backend of the process. Never destroyed, since threads may use it until the process
// exits.
struct BackendInUse {
    Sys::Mutex lock;
    GroupBackend* backend GUARDED_BY(lock) = nullptr;
};

BackendInUse& InUse() {
    static BackendInUse* const sInUse = new BackendInUse;
    return *sInUse;
}

std::unique_ptr<GroupBackend> MakeBackend(const GroupRoot& root) {
    if (root.kind == Kind::None) {
        return std::make_unique<EmbeddedBackend>(ProcessTable::Spawned());
    }
    return std::make_unique<CgroupBackend>(root.directory);
}

void LogRoot(const Ref<Logger>& logger, const GroupRoot& root) {
    switch (root.kind) {
        case Kind::Named:
            LogInternal(logger, 5,
                        "Resource groups are cgroups below %1, which SENTREL_CGROUP_ROOT names",
                        root.directory);
            return;
        case Kind::DelegatedUnit:
            LogInternal(logger, 5,
                        "Resource groups are cgroups below %1, the daemon's own delegated unit",
                        root.directory);
            return;
        case Kind::Mount:
            LogInternal(logger, 5, "Resource groups are cgroups below %1, the cgroup v2 mount",
                        root.directory);
            return;
        case Kind::None:
            LogInternal(logger, 5,
                        "Resource groups are kept in the daemon's own process table, without "
                        "reservation: %1",
                        root.reason);
            return;
    }
}

void LogNoReservation(const Ref<Logger>& logger, std::string_view path, std::string_view reason) {
    LogInternal(logger, 5, {.event = Pellmar::Service::LogEvent::LostReservation},
                "Nothing is reserved for resource group %1: %2", path, reason);
}

// Moves this process out of the unit's own cgroup, which otherwise could not enable controllers.
void EnterLeaf(const std::string& unit) {
    const std::string leaf = unit + "/" + std::string(kDaemonLeaf);
    if (::mkdir(leaf.c_str(), kLeafMode) != 0 && errno != EEXIST) {
        throw Pellmar::IOException("creating the cgroup " + leaf, errno);
    }
    CgroupDirectory directory;
    int error = CgroupDirectory::Open(leaf, directory);
    if (error == 0) {
        error = directory.MoveHere();
    }
    if (error != 0) {
        throw Pellmar::IOException("moving the daemon to the cgroup " + leaf, error);
    }
}

// Logs what an operator should know about a root whose groups the daemon does not create.
void CheckRoot(const Ref<Logger>& logger, const GroupRoot& root, std::string_view path) {
    CgroupDirectory directory;
    if (CgroupDirectory::Open(root.directory, directory) != 0 || !directory.IsCgroup2()) {
        LogInternal(logger, 3,
                    "%1 is not a cgroup v2 directory, so every launch is refused; set "
                    "SENTREL_CGROUP_ROOT to a cgroup v2 directory, or unset it",
                    root.directory);
    } else if (!directory.OffersMemory()) {
        LogNoReservation(logger, path, root.directory + " has no memory controller");
    }
}

void MakeOwnGroup(const Ref<Logger>& logger, const GroupRoot& root, std::string_view path,
                  unsigned reservationMB, const GroupLimits& limits) {
    try {
        if (root.kind == Kind::DelegatedUnit) {
            EnterLeaf(root.directory);
        }
        const std::string problem = EnsureGroup(path, reservationMB);
        // PrepareGroups has already logged that the process table reserves nothing.
        if (!problem.empty() && root.kind == Kind::DelegatedUnit) {
            LogNoReservation(logger, path, problem);
        }
        const std::string gap = LimitGroup(path, limits);
        if (!gap.empty() && root.kind == Kind::DelegatedUnit) {
            LogInternal(logger, 5, "Resource group %1 is not limited as configured: %2", path, gap);
        }
    } catch (const Pellmar::Exception& exception) {
        LogInternal(logger, 3, "Cannot create resource group %1, so every launch is refused: %2",
                    path, exception.what());
    }
}

}  // namespace

void PrepareGroups(std::string_view path, unsigned reservationMB, const GroupLimits& limits) {
    const Ref<Logger> logger = Logger::CreateLogger(Logger::sDefaultLogger, "Kernel");
    const GroupRoot root = LocateGroupRoot();
    UseGroups(MakeBackend(root));
    LogRoot(logger, root);
    if (root.kind == Kind::DelegatedUnit || root.kind == Kind::None) {
        MakeOwnGroup(logger, root, path, reservationMB, limits);
    } else {
        CheckRoot(logger, root, path);
    }
}

GroupBackend& Groups() {
    BackendInUse& inUse = InUse();
    const Sys::MutexLock guard(inUse.lock);
    if (inUse.backend == nullptr) {
        inUse.backend = MakeBackend(LocateGroupRoot()).release();
    }
    return *inUse.backend;
}

void UseGroups(std::unique_ptr<GroupBackend> backend) {
    BackendInUse& inUse = InUse();
    const Sys::MutexLock guard(inUse.lock);
    delete std::exchange(inUse.backend, backend.release());
}

std::string EnsureGroup(std::string_view path, unsigned reservationMB) {
    return Groups().Ensure(path, reservationMB);
}

std::string LimitGroup(std::string_view path, const GroupLimits& limits) {
    return Groups().Limit(path, limits);
}

GroupState ShowGroup(std::string_view path) { return Groups().Show(path); }

}  // namespace Kernel
