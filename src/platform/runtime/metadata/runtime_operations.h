// The table of the runtime's own operations, metadata and introspection. Their results come from
// the sections of metadata_section.h.
#pragma once

#include "platform/runtime/call/call.h"

#include <array>
#include <cstddef>
#include <set>
#include <string_view>

namespace Quon::Provider {

enum class OperationGroup { Cli, Authentication, Metamodel, Introspection };

// What an operation queries from its collection, and its parameters, all texts.
enum class Query {
    List,         // no parameter -> the identifiers, ascending
    Get,          // "id" -> the structure
    GetOnly,      // no parameter -> the only structure
    Fingerprint,  // no parameter -> a text that changes exactly when the collection changes
    ComponentFingerprint,  // "id" -> the same for that component
    ListOperations,        // "service" -> the names of its operations, ascending
    GetOperation,          // "service", "operation" -> the structure
    ListModels             // "resource" -> the identifiers of its models, ascending
};

struct RuntimeOperation {
    OperationGroup group;
    std::string_view service;
    std::string_view operation;
    Query query;
    std::string_view collection;  // a field of the group's section
    std::string_view structure;   // the name of the returned structure, else empty
};

inline constexpr std::size_t kRuntimeOperationCount = 36;
extern const std::array<RuntimeOperation, kRuntimeOperationCount> kRuntimeOperations;

// The identifiers of all of them. Anybody may call them.
std::set<OperationId> OpenOperations();

}  // namespace Quon::Provider
