#include "plugins/resource_group.h"

#include "platform/kernel/interface/kis.h"
#include "platform/kernel/interface/status.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

namespace Sentrel {

using Pellmar::Ref;
using Pellmar::Service::Logger;
using Pellmar::Service::LogInternal;

namespace {

struct ParamListDeleter {
    void operator()(KIS_ParamList* list) const { KIS_ParamListDestroy(list); }
};
using ParamList = std::unique_ptr<KIS_ParamList, ParamListDeleter>;

MSK_ReturnStatus LookupGroupId(std::int64_t& groupId) {
    const ParamList list(KIS_ParamListCreate(0, 1));
    if (!list) {
        return Kernel::kStatusOutOfMemory;
    }
    const MSK_ReturnStatus added = KIS_ParamListAddString(list.get(), kPluginGroupPath);
    if (added != Kernel::kStatusSuccess) {
        return added;
    }
    return KIS_Set(KIS_NODE_sched_groupPathNameToID, 0, list.get(), &groupId, sizeof(groupId));
}

bool FindGroup(const Ref<Logger>& logger, std::int64_t& groupId) {
    groupId = -1;
    const MSK_ReturnStatus status = LookupGroupId(groupId);
    if (status != Kernel::kStatusSuccess) {
        LogInternal(logger, 3, "Group %1 was not found: %2", kPluginGroupPath,
                    MSK_ReturnStatusToString(status));
        return false;
    }
    return true;
}

MSK_ReturnStatus CountMemberGroups(std::int64_t groupId, std::size_t& count) {
    const ParamList list(KIS_ParamListCreate(1, 1));
    if (!list) {
        return Kernel::kStatusOutOfMemory;
    }
    const MSK_ReturnStatus added = KIS_ParamListAddInt(list.get(), groupId);
    if (added != Kernel::kStatusSuccess) {
        return added;
    }
    KIS_ParamList* result = nullptr;
    const MSK_ReturnStatus status =
        KIS_GetInstanceListAlloc(KIS_NODE_sched_groups_members_groups, list.get(), &result);
    const ParamList members(result);
    if (status == Kernel::kStatusSuccess) {
        count = KIS_ParamListNumInstances(members.get());
    }
    return status;
}

// The kilobytes at an unaligned position of the statistics, rounded up to megabytes.
std::uint64_t MegabytesAt(const unsigned char* statistics, std::size_t offset) {
    std::uint64_t kilobytes = 0;
    std::memcpy(&kilobytes, statistics + offset, sizeof(kilobytes));
    return (kilobytes + 1023) / 1024;
}

}  // namespace

bool IsResourcePoolSize(std::int32_t megabytes) {
    return megabytes > kDefaultResourcePoolSizeMB && megabytes <= kMaxResourcePoolSizeMB;
}

std::int32_t ConfiguredResourcePoolSizeMB(const Ref<Pellmar::Service::ConfigReader>& reader) {
    std::int32_t megabytes = 0;
    const bool isSet = reader->GetInt("plugin_resource_pool_size_MB", megabytes);
    return isSet && IsResourcePoolSize(megabytes) ? megabytes : kDefaultResourcePoolSizeMB;
}

std::int32_t MemoryLimitMB(std::int32_t configured, std::int32_t poolSizeMB) {
    if (configured == 0) {
        return 0;
    }
    return std::max(configured < 0 ? kDefaultMemoryLimitMB : configured, poolSizeMB);
}

Kernel::GroupLimits PluginGroupLimits(const Ref<Pellmar::Service::ConfigReader>& reader,
                                      std::int32_t poolSizeMB) {
    std::int32_t megabytes = kDefaultMemoryLimitMB;
    (void)reader->GetInt("plugin_memory_limit_MB", megabytes);  // keeps the default when missing
    return {.memoryMB = static_cast<unsigned>(MemoryLimitMB(megabytes, poolSizeMB)),
            .processes = kMaxPluginProcesses};
}

bool CheckResourcePool(const Ref<Logger>& logger) {
    std::array<char, Kernel::kSignatureDateBytes> runningDate{};
    const char* programDate = "";
    if (KIS_CheckSig(runningDate.data(), runningDate.size(), &programDate) != 0) {
        LogInternal(logger, 3,
                    "MD5 signature mismatch with running moskernel built on %1 (my build date: %2)",
                    runningDate.data(), programDate);
        return false;
    }
    std::int64_t groupId = -1;
    if (!FindGroup(logger, groupId)) {
        return false;
    }
    std::size_t memberGroups = 0;
    const MSK_ReturnStatus status = CountMemberGroups(groupId, memberGroups);
    if (status != Kernel::kStatusSuccess) {
        LogInternal(logger, 3, "Could not check group %1: %2", groupId,
                    MSK_ReturnStatusToString(status));
        return false;
    }
    LogInternal(logger, 5, "%1 subgroups present in group %2", memberGroups, groupId);
    (void)LogGroupMemory(logger);  // a launch does not depend on the statistics
    return true;
}

bool LogGroupMemory(const Ref<Logger>& logger) {
    const ParamList list(KIS_ParamListCreate(1, 1));
    if (!list) {
        LogInternal(logger, 3, "Couldn't create parameter list: Out of Memory");
        return false;
    }
    std::int64_t groupId = -1;
    if (!FindGroup(logger, groupId)) {
        return false;
    }
    const MSK_ReturnStatus added = KIS_ParamListAddInt(list.get(), groupId);
    if (added != Kernel::kStatusSuccess) {
        LogInternal(logger, 3, "Adding the sentrel-plugins group to the parameter list failed: %1",
                    MSK_ReturnStatusToString(added));
        return false;
    }
    std::array<unsigned char, Kernel::kMemoryStatsBytes> statistics{};
    const MSK_ReturnStatus status = KIS_Get(KIS_NODE_sched_groups_stats_memoryStats, list.get(),
                                            statistics.data(), statistics.size());
    if (status != Kernel::kStatusSuccess) {
        LogInternal(logger, 3,
                    "Failed to retrieve memory statistics of the sentrel-plugins group: %1",
                    MSK_ReturnStatusToString(status));
        return false;
    }
    LogInternal(
        logger, 5,
        "Peak requested reservation (MB): %1, Peak requested reservation of children groups "
        "(MB): %2",
        MegabytesAt(statistics.data(), Kernel::kPeakOffset),
        MegabytesAt(statistics.data(), Kernel::kChildrenPeakOffset));
    return true;
}

}  // namespace Sentrel
