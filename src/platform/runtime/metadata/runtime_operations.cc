#include "platform/runtime/metadata/runtime_operations.h"

#include "platform/runtime/metadata/metadata_definition.h"

#include <string>

namespace Quon::Provider {

namespace {

namespace Model = MetadataModel;
using enum OperationGroup;
using enum Query;

constexpr std::string_view kCommand = "com.korvex.quon.metadata.cli.command";
constexpr std::string_view kNamespace = "com.korvex.quon.metadata.cli.namespace";
constexpr std::string_view kAuthnComponent = "com.korvex.quon.metadata.authentication.component";
constexpr std::string_view kAuthnOperation =
    "com.korvex.quon.metadata.authentication.service.operation";
constexpr std::string_view kAuthnPackage = "com.korvex.quon.metadata.authentication.package";
constexpr std::string_view kAuthnService = "com.korvex.quon.metadata.authentication.service";
constexpr std::string_view kComponent = "com.korvex.quon.metadata.metamodel.component";
constexpr std::string_view kEnumeration = "com.korvex.quon.metadata.metamodel.enumeration";
constexpr std::string_view kModel = "com.korvex.quon.metadata.metamodel.resource.model";
constexpr std::string_view kOperation = "com.korvex.quon.metadata.metamodel.service.operation";
constexpr std::string_view kHidden = "com.korvex.quon.metadata.metamodel.service.hidden";
constexpr std::string_view kPackage = "com.korvex.quon.metadata.metamodel.package";
constexpr std::string_view kResource = "com.korvex.quon.metadata.metamodel.resource";
constexpr std::string_view kService = "com.korvex.quon.metadata.metamodel.service";
constexpr std::string_view kStructure = "com.korvex.quon.metadata.metamodel.structure";
constexpr std::string_view kStdOperation = "com.korvex.quon.std.introspection.operation";
constexpr std::string_view kStdService = "com.korvex.quon.std.introspection.service";
constexpr std::string_view kStdProvider = "com.korvex.quon.std.introspection.provider";

template <typename T>
constexpr std::string_view kNameOf = Native::StructureOf<T>::kName;

}  // namespace

// clang-format off
const std::array<RuntimeOperation, kRuntimeOperationCount> kRuntimeOperations = {{
    {Cli, kCommand, "list", List, "commands", {}},
    {Cli, kCommand, "get", Get, "commands", kNameOf<Model::CommandInfo>},
    {Cli, kCommand, "fingerprint", Fingerprint, "commands", {}},
    {Cli, kNamespace, "list", List, "namespaces", {}},
    {Cli, kNamespace, "get", Get, "namespaces", kNameOf<Model::NamespaceInfo>},
    {Cli, kNamespace, "fingerprint", Fingerprint, "namespaces", {}},
    {Authentication, kAuthnComponent, "list", List, "components", {}},
    {Authentication, kAuthnComponent, "get", Get, "components", kNameOf<Model::ComponentInfo>},
    {Authentication, kAuthnComponent, "fingerprint", ComponentFingerprint, "components", {}},
    {Authentication, kAuthnOperation, "list", ListOperations, "services", {}},
    {Authentication, kAuthnOperation, "get", GetOperation, "services", kNameOf<Model::OperationSchemes>},
    {Authentication, kAuthnPackage, "list", List, "packages", {}},
    {Authentication, kAuthnPackage, "get", Get, "packages", kNameOf<Model::PackageSchemes>},
    {Authentication, kAuthnService, "list", List, "services", {}},
    {Authentication, kAuthnService, "get", Get, "services", kNameOf<Model::ServiceSchemes>},
    {Metamodel, kComponent, "list", List, "components", {}},
    {Metamodel, kComponent, "get", Get, "components", kNameOf<Model::ComponentInfo>},
    {Metamodel, kComponent, "fingerprint", ComponentFingerprint, "components", {}},
    {Metamodel, kEnumeration, "list", List, "enumerations", {}},
    {Metamodel, kEnumeration, "get", Get, "enumerations", kNameOf<Model::EnumerationInfo>},
    {Metamodel, kModel, "list", ListModels, "resources", {}},
    {Metamodel, kOperation, "list", ListOperations, "services", {}},
    {Metamodel, kOperation, "get", GetOperation, "services", kNameOf<Model::OperationInfo>},
    {Metamodel, kHidden, "list", List, "hiddenServices", {}},
    {Metamodel, kPackage, "list", List, "packages", {}},
    {Metamodel, kPackage, "get", Get, "packages", kNameOf<Model::PackageInfo>},
    {Metamodel, kResource, "list", List, "resources", {}},
    {Metamodel, kService, "list", List, "services", {}},
    {Metamodel, kService, "get", Get, "services", kNameOf<Model::ServiceInfo>},
    {Metamodel, kStructure, "list", List, "structures", {}},
    {Metamodel, kStructure, "get", Get, "structures", kNameOf<Model::StructureInfo>},
    {Introspection, kStdOperation, "list", ListOperations, "services", {}},
    {Introspection, kStdOperation, "get", GetOperation, "services", kNameOf<Model::OperationInfo>},
    {Introspection, kStdProvider, "get", GetOnly, "providers", kNameOf<Model::ProviderInfo>},
    {Introspection, kStdService, "list", List, "services", {}},
    {Introspection, kStdService, "get", Get, "services", kNameOf<Model::ServiceInfo>},
}};
// clang-format on

std::set<OperationId> OpenOperations() {
    std::set<OperationId> ids;
    for (const RuntimeOperation& row : kRuntimeOperations) {
        ids.insert({std::string(row.service), std::string(row.operation)});
    }
    return ids;
}

}  // namespace Quon::Provider
