#include "platform/kernel/interface/kis.h"

#include "platform/kernel/groups/group_backend.h"
#include "platform/kernel/groups/groups.h"
#include "platform/kernel/interface/kernel_signature.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

// NOLINTBEGIN(readability-identifier-naming): the interface's own names
const std::uint16_t KIS_NODE_sched_groupPathNameToID = 0x0101;
const std::uint16_t KIS_NODE_sched_groups_members_groups = 0x0102;
const std::uint16_t KIS_NODE_sched_groups_stats_memoryStats = 0x0103;

struct KIS_ParamList {
    using Parameter = std::variant<std::int64_t, std::string>;

    std::size_t instanceCount = 0;
    std::size_t capacity = 0;
    std::vector<Parameter> parameters{};
    std::vector<std::int64_t> instances{};
};
// NOLINTEND(readability-identifier-naming)

namespace {

using Kernel::kStatusBadParameter;
using Kernel::kStatusOutOfMemory;
using Kernel::kStatusSuccess;
using Kernel::StatusOfError;

constexpr int kMaxParameters = 8;

// No exception crosses the interface.
template <typename Call>
MSK_ReturnStatus Guarded(const Call& call) noexcept {
    try {
        return call();
    } catch (const std::bad_alloc&) {
        return kStatusOutOfMemory;
    } catch (...) {
        return Kernel::kStatusFailure;
    }
}

// The parameter of a complete list with exactly one, if it has type T; null otherwise.
template <typename T>
const T* OnlyParameter(const KIS_ParamList* list) {
    if (list == nullptr || list->parameters.size() != 1 || list->capacity != 1) {
        return nullptr;
    }
    return std::get_if<T>(list->parameters.data());
}

// `T` is a parameter's type.
template <typename T>
MSK_ReturnStatus Append(KIS_ParamList* list, T parameter) {
    if (list == nullptr || list->parameters.size() == list->capacity) {
        return kStatusBadParameter;
    }
    const bool namesInstance = list->parameters.size() < list->instanceCount;
    if (namesInstance && !std::is_same_v<T, std::int64_t>) {
        return kStatusBadParameter;
    }
    list->parameters.emplace_back(std::move(parameter));
    return kStatusSuccess;
}

void PutNumber(std::array<unsigned char, Kernel::kMemoryStatsBytes>& bytes, std::size_t offset,
               std::uint64_t number) {
    for (std::size_t index = 0; index < sizeof(number); ++index) {
        bytes.at(offset + index) = static_cast<unsigned char>(number >> (8 * index));
    }
}

}  // namespace

KIS_ParamList* KIS_ParamListCreate(int instanceCount, int parameterCount) {
    if (parameterCount < 1 || parameterCount > kMaxParameters || instanceCount < 0 ||
        instanceCount > parameterCount) {
        return nullptr;
    }
    return new (std::nothrow) KIS_ParamList{static_cast<std::size_t>(instanceCount),
                                            static_cast<std::size_t>(parameterCount)};
}

MSK_ReturnStatus KIS_ParamListAddString(KIS_ParamList* list, const char* text) {
    return Guarded([list, text] {
        return text == nullptr ? kStatusBadParameter : Append(list, std::string(text));
    });
}

MSK_ReturnStatus KIS_ParamListAddInt(KIS_ParamList* list, std::int64_t value) {
    return Guarded([list, value] { return Append(list, value); });
}

std::size_t KIS_ParamListNumInstances(const KIS_ParamList* list) {
    return list == nullptr ? 0 : list->instances.size();
}

void KIS_ParamListDestroy(KIS_ParamList* list) { delete list; }

MSK_ReturnStatus KIS_Set(std::uint16_t node, int flags, const KIS_ParamList* list, void* output,
                         std::size_t size) {
    return Guarded([=] {
        const auto* path = OnlyParameter<std::string>(list);
        std::int64_t id = 0;
        if (node != KIS_NODE_sched_groupPathNameToID || flags != 0 || path == nullptr ||
            output == nullptr || size != sizeof(id)) {
            return kStatusBadParameter;
        }
        const int error = Kernel::Groups().FindId(*path, id);
        if (error == 0) {
            std::memcpy(output, &id, sizeof(id));
        }
        return StatusOfError(error);
    });
}

MSK_ReturnStatus KIS_Get(std::uint16_t node, const KIS_ParamList* list, void* buffer,
                         std::size_t size) {
    return Guarded([=] {
        const auto* id = OnlyParameter<std::int64_t>(list);
        if (node != KIS_NODE_sched_groups_stats_memoryStats || id == nullptr || buffer == nullptr ||
            size != Kernel::kMemoryStatsBytes) {
            return kStatusBadParameter;
        }
        Kernel::GroupMemory memory;
        const int error = Kernel::Groups().ReadMemory(*id, memory);
        if (error == 0) {
            std::array<unsigned char, Kernel::kMemoryStatsBytes> bytes{};
            PutNumber(bytes, Kernel::kPeakOffset, memory.peak);
            PutNumber(bytes, Kernel::kChildrenPeakOffset, memory.childrenPeak);
            std::memcpy(buffer, bytes.data(), bytes.size());
        }
        return StatusOfError(error);
    });
}

MSK_ReturnStatus KIS_GetInstanceListAlloc(std::uint16_t node, const KIS_ParamList* list,
                                          KIS_ParamList** result) {
    return Guarded([=] {
        const auto* id = OnlyParameter<std::int64_t>(list);
        if (node != KIS_NODE_sched_groups_members_groups || id == nullptr || result == nullptr) {
            return kStatusBadParameter;
        }
        auto instances = std::make_unique<KIS_ParamList>();
        const int error = Kernel::Groups().ListMembers(*id, instances->instances);
        if (error == 0) {
            *result = instances.release();
        }
        return StatusOfError(error);
    });
}

int KIS_CheckSig(char* runningDate, std::size_t size, const char** programDate) {
    if (runningDate != nullptr && size > 0) {
        *runningDate = '\0';
    }
    if (programDate != nullptr) {
        *programDate = "";
    }
    return Guarded([=] {
        if (Kernel::KernelOffersInterface(Kernel::Groups().PlacesByDirectory())) {
            return kStatusSuccess;
        }
        if (programDate != nullptr) {
            *programDate = Kernel::ProgramDate();
        }
        if (runningDate != nullptr && size > 0) {
            const std::string date = Kernel::RunningKernelDate();
            const std::size_t length = std::min(date.size(), size - 1);
            std::memcpy(runningDate, date.data(), length);
            runningDate[length] = '\0';
        }
        return Kernel::kStatusNotSupported;
    });
}
