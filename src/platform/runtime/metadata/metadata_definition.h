// The names and descriptions of the metadata structures' fields, for reading, checking and writing.
#pragma once

#include "platform/runtime/call/native.h"
#include "platform/runtime/metadata/metadata_model.h"

#include <string_view>
#include <tuple>

namespace Quon::Native {

template <>
struct StructureOf<MetadataModel::FieldInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.field_info";
    static constexpr std::string_view kDocumentation = "A parameter of an operation, or a field.";
    static constexpr auto kFields = std::make_tuple(
        Field{"name", &MetadataModel::FieldInfo::name, "The name."},
        Field{"type", &MetadataModel::FieldInfo::type, "The type."},
        Field{"optional", &MetadataModel::FieldInfo::optional, "Whether it is optional."},
        Field{"documentation", &MetadataModel::FieldInfo::documentation, "The meaning."});
};

template <>
struct StructureOf<MetadataModel::OperationInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.operation_info";
    static constexpr std::string_view kDocumentation = "An operation of a service.";
    static constexpr auto kFields = std::make_tuple(
        Field{"name", &MetadataModel::OperationInfo::name, "The name within the service."},
        Field{"documentation", &MetadataModel::OperationInfo::documentation, "What it does."},
        Field{"parameters", &MetadataModel::OperationInfo::parameters, "The parameters."},
        Field{"result", &MetadataModel::OperationInfo::result, "The type of the result."},
        Field{"errors", &MetadataModel::OperationInfo::errors, "The documented errors."});
};

template <>
struct StructureOf<MetadataModel::ServiceInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.service_info";
    static constexpr std::string_view kDocumentation = "A service and its operations.";
    static constexpr auto kFields = std::make_tuple(
        Field{"id", &MetadataModel::ServiceInfo::id, "Its identifier."},
        Field{"documentation", &MetadataModel::ServiceInfo::documentation, "The purpose."},
        Field{"operations", &MetadataModel::ServiceInfo::operations, "Its operations."});
};

template <>
struct StructureOf<MetadataModel::StructureInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.structure_info";
    static constexpr std::string_view kDocumentation = "A structure.";
    static constexpr auto kFields = std::make_tuple(
        Field{"id", &MetadataModel::StructureInfo::id, "Its identifier."},
        Field{"documentation", &MetadataModel::StructureInfo::documentation, "The meaning."},
        Field{"fields", &MetadataModel::StructureInfo::fields, "The fields in order."});
};

template <>
struct StructureOf<MetadataModel::EnumerationInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.enumeration_info";
    static constexpr std::string_view kDocumentation = "An enumeration.";
    static constexpr auto kFields = std::make_tuple(
        Field{"id", &MetadataModel::EnumerationInfo::id, "Its identifier."},
        Field{"documentation", &MetadataModel::EnumerationInfo::documentation, "The meaning."},
        Field{"values", &MetadataModel::EnumerationInfo::values, "The values in order."});
};

template <>
struct StructureOf<MetadataModel::ResourceInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.resource_info";
    static constexpr std::string_view kDocumentation = "A resource that services describe.";
    static constexpr auto kFields = std::make_tuple(
        Field{"id", &MetadataModel::ResourceInfo::id, "Its identifier."},
        Field{"models", &MetadataModel::ResourceInfo::models, "The structures that describe it."});
};

template <>
struct StructureOf<MetadataModel::PackageInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.package_info";
    static constexpr std::string_view kDocumentation = "A group of services.";
    static constexpr auto kFields = std::make_tuple(
        Field{"id", &MetadataModel::PackageInfo::id, "Its identifier."},
        Field{"services", &MetadataModel::PackageInfo::services, "The services in it."},
        Field{"structures", &MetadataModel::PackageInfo::structures, "The structures in it."},
        Field{"enumerations", &MetadataModel::PackageInfo::enumerations,
              "The enumerations in it."});
};

template <>
struct StructureOf<MetadataModel::ComponentInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.component_info";
    static constexpr std::string_view kDocumentation = "The content of a metadata file.";
    static constexpr auto kFields = std::make_tuple(
        Field{"id", &MetadataModel::ComponentInfo::id, "Its identifier."},
        Field{"packages", &MetadataModel::ComponentInfo::packages, "Its packages."});
};

template <>
struct StructureOf<MetadataModel::ProviderInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.provider_info";
    static constexpr std::string_view kDocumentation = "The provider that runs the operations.";
    static constexpr auto kFields =
        std::make_tuple(Field{"id", &MetadataModel::ProviderInfo::id, "Its identifier."},
                        Field{"fingerprint", &MetadataModel::ProviderInfo::fingerprint,
                              "Changes exactly when an operation changes."});
};

template <>
struct StructureOf<MetadataModel::OptionInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.option_info";
    static constexpr std::string_view kDocumentation = "An option of a command.";
    static constexpr auto kFields = std::make_tuple(
        Field{"name", &MetadataModel::OptionInfo::name, "The name after \"--\"."},
        Field{"parameter", &MetadataModel::OptionInfo::parameter, "The parameter that it sets."},
        Field{"type", &MetadataModel::OptionInfo::type, "The type of its value."},
        Field{"required", &MetadataModel::OptionInfo::required, "Whether it is required."},
        Field{"documentation", &MetadataModel::OptionInfo::documentation, "The meaning."});
};

template <>
struct StructureOf<MetadataModel::CommandInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.command_info";
    static constexpr std::string_view kDocumentation = "A command that calls an operation.";
    static constexpr auto kFields = std::make_tuple(
        Field{"id", &MetadataModel::CommandInfo::id, "Its namespace, \".\" and its name."},
        Field{"name", &MetadataModel::CommandInfo::name, "The word on the command line."},
        Field{"service", &MetadataModel::CommandInfo::service, "The service of the operation."},
        Field{"operation", &MetadataModel::CommandInfo::operation, "The operation that it calls."},
        Field{"documentation", &MetadataModel::CommandInfo::documentation, "What it does."},
        Field{"options", &MetadataModel::CommandInfo::options, "The options."});
};

template <>
struct StructureOf<MetadataModel::NamespaceInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.namespace_info";
    static constexpr std::string_view kDocumentation = "A group of commands.";
    static constexpr auto kFields = std::make_tuple(
        Field{"id", &MetadataModel::NamespaceInfo::id, "Its identifier."},
        Field{"documentation", &MetadataModel::NamespaceInfo::documentation, "The purpose."},
        Field{"commands", &MetadataModel::NamespaceInfo::commands, "The commands in it."});
};

template <>
struct StructureOf<MetadataModel::OperationSchemes> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.operation_schemes";
    static constexpr std::string_view kDocumentation = "How to authenticate for an operation.";
    static constexpr auto kFields = std::make_tuple(
        Field{"name", &MetadataModel::OperationSchemes::name, "The operation within its service."},
        Field{"schemes", &MetadataModel::OperationSchemes::schemes,
              "Security schemes; one is enough."});
};

template <>
struct StructureOf<MetadataModel::ServiceSchemes> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.service_schemes";
    static constexpr std::string_view kDocumentation = "How to authenticate for a service.";
    static constexpr auto kFields = std::make_tuple(
        Field{"id", &MetadataModel::ServiceSchemes::id, "The service."},
        Field{"schemes", &MetadataModel::ServiceSchemes::schemes,
              "Security schemes; one is enough."},
        Field{"operations", &MetadataModel::ServiceSchemes::operations, "Its operations."});
};

template <>
struct StructureOf<MetadataModel::PackageSchemes> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.package_schemes";
    static constexpr std::string_view kDocumentation = "How to authenticate for a package.";
    static constexpr auto kFields =
        std::make_tuple(Field{"id", &MetadataModel::PackageSchemes::id, "The package."},
                        Field{"schemes", &MetadataModel::PackageSchemes::schemes,
                              "Security schemes; one is enough."});
};

template <>
struct StructureOf<MetadataModel::OperationPrivileges> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.operation_privileges";
    static constexpr std::string_view kDocumentation = "Who may call an operation.";
    static constexpr auto kFields = std::make_tuple(
        Field{"service", &MetadataModel::OperationPrivileges::service, "The service."},
        Field{"operation", &MetadataModel::OperationPrivileges::operation, "The operation in it."},
        Field{"privileges", &MetadataModel::OperationPrivileges::privileges,
              "The required privileges, all of them."});
};

template <>
struct StructureOf<MetadataModel::CliSection> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.cli_section";
    static constexpr std::string_view kDocumentation = "How a command line maps to the operations.";
    static constexpr auto kFields = std::make_tuple(
        Field{"namespaces", &MetadataModel::CliSection::namespaces, "One for each service."},
        Field{"commands", &MetadataModel::CliSection::commands, "One for each operation."});
};

template <>
struct StructureOf<MetadataModel::MetamodelSection> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.metamodel_section";
    static constexpr std::string_view kDocumentation = "The parts of the API.";
    static constexpr auto kFields = std::make_tuple(
        Field{"components", &MetadataModel::MetamodelSection::components,
              "The content of the file."},
        Field{"packages", &MetadataModel::MetamodelSection::packages, "The packages."},
        Field{"services", &MetadataModel::MetamodelSection::services, "The services."},
        Field{"hiddenServices", &MetadataModel::MetamodelSection::hiddenServices,
              "Services in no other list."},
        Field{"structures", &MetadataModel::MetamodelSection::structures, "The structures."},
        Field{"enumerations", &MetadataModel::MetamodelSection::enumerations, "The enumerations."},
        Field{"resources", &MetadataModel::MetamodelSection::resources,
              "The resources that the services describe."});
};

template <>
struct StructureOf<MetadataModel::AuthenticationSection> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.authentication_section";
    static constexpr std::string_view kDocumentation = "How to authenticate.";
    static constexpr auto kFields = std::make_tuple(
        Field{"components", &MetadataModel::AuthenticationSection::components,
              "The content of the file."},
        Field{"packages", &MetadataModel::AuthenticationSection::packages, "The packages."},
        Field{"services", &MetadataModel::AuthenticationSection::services, "The services."});
};

template <>
struct StructureOf<MetadataModel::AuthorizationSection> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.authorization_section";
    static constexpr std::string_view kDocumentation = "Who may call which operation.";
    static constexpr auto kFields = std::make_tuple(Field{
        "operations", &MetadataModel::AuthorizationSection::operations, "One for each operation."});
};

template <>
struct StructureOf<MetadataModel::MetadataFile> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.metadata_file";
    static constexpr std::string_view kDocumentation = "A metadata file.";
    static constexpr auto kFields = std::make_tuple(
        Field{"package", &MetadataModel::MetadataFile::package,
              "The package that the metadata describe."},
        Field{"cli", &MetadataModel::MetadataFile::cli, "For command lines."},
        Field{"metamodel", &MetadataModel::MetadataFile::metamodel, "For readers of the API."},
        Field{"authentication", &MetadataModel::MetadataFile::authentication, "For clients."},
        Field{"authorization", &MetadataModel::MetadataFile::authorization,
              "For the server only."});
};

}  // namespace Quon::Native
