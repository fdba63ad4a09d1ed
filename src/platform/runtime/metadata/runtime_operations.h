// The operations that the runtime itself brings: metadata and introspection, in one table. What
// they answer with comes from the sections of metadata_section.h.
#pragma once

#include "platform/runtime/call/call.h"

#include <array>
#include <cstddef>
#include <set>
#include <string_view>

namespace Quon::Provider {

enum class OperationGroup { Cli, Authentication, Metamodel, Introspection };

// What an operation asks of its collection, and which parameters, all texts, it takes for that.
enum class Query {
    List,                  // no parameter -> the identifiers, ascending
    Get,                   // "id" -> the structure
    GetOnly,               // no parameter -> the one structure that there is
    Fingerprint,           // no parameter -> a text that changes exactly when the collection does
    ComponentFingerprint,  // "id" -> the same, when the component does
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
    std::string_view structure;   // the name of the structure that it answers with; else empty
};

inline constexpr std::size_t kRuntimeOperationCount = 36;
extern const std::array<RuntimeOperation, kRuntimeOperationCount> kRuntimeOperations;

// All of them. Anybody may call them.
std::set<OperationId> OpenOperations();

}  // namespace Quon::Provider
