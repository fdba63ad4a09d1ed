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
        Field{"name", &MetadataModel::FieldInfo::name, "What it is called."},
        Field{"type", &MetadataModel::FieldInfo::type, "What it holds."},
        Field{"optional", &MetadataModel::FieldInfo::optional, "Whether it may be left out."},
        Field{"documentation", &MetadataModel::FieldInfo::documentation, "What it means."});
};

template <>
struct StructureOf<MetadataModel::OperationInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.operation_info";
    static constexpr std::string_view kDocumentation = "An operation of a service.";
    static constexpr auto kFields = std::make_tuple(
        Field{"name", &MetadataModel::OperationInfo::name, "What it is called within its service."},
        Field{"documentation", &MetadataModel::OperationInfo::documentation, "What it does."},
        Field{"parameters", &MetadataModel::OperationInfo::parameters, "What it takes."},
        Field{"result", &MetadataModel::OperationInfo::result, "What it gives."},
        Field{"errors", &MetadataModel::OperationInfo::errors, "The errors that it documents."});
};

template <>
struct StructureOf<MetadataModel::ServiceInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.service_info";
    static constexpr std::string_view kDocumentation = "A service and its operations.";
    static constexpr auto kFields = std::make_tuple(
        Field{"id", &MetadataModel::ServiceInfo::id, "Its identifier."},
        Field{"documentation", &MetadataModel::ServiceInfo::documentation, "What it is for."},
        Field{"operations", &MetadataModel::ServiceInfo::operations, "Its operations."});
};

template <>
struct StructureOf<MetadataModel::StructureInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.structure_info";
    static constexpr std::string_view kDocumentation = "A structure.";
    static constexpr auto kFields = std::make_tuple(
        Field{"id", &MetadataModel::StructureInfo::id, "Its identifier."},
        Field{"documentation", &MetadataModel::StructureInfo::documentation, "What it tells."},
        Field{"fields", &MetadataModel::StructureInfo::fields, "Its fields, in their order."});
};

template <>
struct StructureOf<MetadataModel::EnumerationInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.enumeration_info";
    static constexpr std::string_view kDocumentation = "An enumeration.";
    static constexpr auto kFields = std::make_tuple(
        Field{"id", &MetadataModel::EnumerationInfo::id, "Its identifier."},
        Field{"documentation", &MetadataModel::EnumerationInfo::documentation,
              "What it tells apart."},
        Field{"values", &MetadataModel::EnumerationInfo::values, "Its values, in their order."});
};

template <>
struct StructureOf<MetadataModel::ResourceInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.resource_info";
    static constexpr std::string_view kDocumentation = "A kind of thing that services tell of.";
    static constexpr auto kFields = std::make_tuple(
        Field{"id", &MetadataModel::ResourceInfo::id, "Its identifier."},
        Field{"models", &MetadataModel::ResourceInfo::models, "The structures that tell of it."});
};

template <>
struct StructureOf<MetadataModel::PackageInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.package_info";
    static constexpr std::string_view kDocumentation = "Services that belong together.";
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
    static constexpr std::string_view kDocumentation = "What comes in one metadata file.";
    static constexpr auto kFields = std::make_tuple(
        Field{"id", &MetadataModel::ComponentInfo::id, "Its identifier."},
        Field{"packages", &MetadataModel::ComponentInfo::packages, "Its packages."});
};

template <>
struct StructureOf<MetadataModel::ProviderInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.provider_info";
    static constexpr std::string_view kDocumentation = "What runs the operations.";
    static constexpr auto kFields =
        std::make_tuple(Field{"id", &MetadataModel::ProviderInfo::id, "Its identifier."},
                        Field{"fingerprint", &MetadataModel::ProviderInfo::fingerprint,
                              "Changes exactly when an operation does."});
};

template <>
struct StructureOf<MetadataModel::OptionInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.option_info";
    static constexpr std::string_view kDocumentation = "An option of a command.";
    static constexpr auto kFields = std::make_tuple(
        Field{"name", &MetadataModel::OptionInfo::name, "What is written behind \"--\"."},
        Field{"parameter", &MetadataModel::OptionInfo::parameter, "The parameter that it sets."},
        Field{"type", &MetadataModel::OptionInfo::type, "What it takes."},
        Field{"required", &MetadataModel::OptionInfo::required, "Whether the command needs it."},
        Field{"documentation", &MetadataModel::OptionInfo::documentation, "What it means."});
};

template <>
struct StructureOf<MetadataModel::CommandInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.command_info";
    static constexpr std::string_view kDocumentation = "A command that calls an operation.";
    static constexpr auto kFields = std::make_tuple(
        Field{"id", &MetadataModel::CommandInfo::id, "Its namespace, \".\" and its name."},
        Field{"name", &MetadataModel::CommandInfo::name, "What is written to give it."},
        Field{"service", &MetadataModel::CommandInfo::service, "The service of the operation."},
        Field{"operation", &MetadataModel::CommandInfo::operation, "The operation that it calls."},
        Field{"documentation", &MetadataModel::CommandInfo::documentation, "What it does."},
        Field{"options", &MetadataModel::CommandInfo::options, "What it takes."});
};

template <>
struct StructureOf<MetadataModel::NamespaceInfo> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.namespace_info";
    static constexpr std::string_view kDocumentation = "Commands that belong together.";
    static constexpr auto kFields = std::make_tuple(
        Field{"id", &MetadataModel::NamespaceInfo::id, "Its identifier."},
        Field{"documentation", &MetadataModel::NamespaceInfo::documentation, "What it is for."},
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
              "All of them are needed."});
};

template <>
struct StructureOf<MetadataModel::CliSection> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.cli_section";
    static constexpr std::string_view kDocumentation = "How a command line reaches the operations.";
    static constexpr auto kFields = std::make_tuple(
        Field{"namespaces", &MetadataModel::CliSection::namespaces, "One for each service."},
        Field{"commands", &MetadataModel::CliSection::commands, "One for each operation."});
};

template <>
struct StructureOf<MetadataModel::MetamodelSection> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.metamodel_section";
    static constexpr std::string_view kDocumentation = "What the parts of an API are.";
    static constexpr auto kFields = std::make_tuple(
        Field{"components", &MetadataModel::MetamodelSection::components, "What the file holds."},
        Field{"packages", &MetadataModel::MetamodelSection::packages, "The packages."},
        Field{"services", &MetadataModel::MetamodelSection::services, "The services."},
        Field{"hiddenServices", &MetadataModel::MetamodelSection::hiddenServices,
              "Services that are listed nowhere else."},
        Field{"structures", &MetadataModel::MetamodelSection::structures, "The structures."},
        Field{"enumerations", &MetadataModel::MetamodelSection::enumerations, "The enumerations."},
        Field{"resources", &MetadataModel::MetamodelSection::resources,
              "What the services tell of."});
};

template <>
struct StructureOf<MetadataModel::AuthenticationSection> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.authentication_section";
    static constexpr std::string_view kDocumentation = "How to authenticate.";
    static constexpr auto kFields = std::make_tuple(
        Field{"components", &MetadataModel::AuthenticationSection::components,
              "What the file holds."},
        Field{"packages", &MetadataModel::AuthenticationSection::packages, "The packages."},
        Field{"services", &MetadataModel::AuthenticationSection::services, "The services."});
};

template <>
struct StructureOf<MetadataModel::AuthorizationSection> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.authorization_section";
    static constexpr std::string_view kDocumentation = "Who may call what.";
    static constexpr auto kFields = std::make_tuple(Field{
        "operations", &MetadataModel::AuthorizationSection::operations, "One for each operation."});
};

template <>
struct StructureOf<MetadataModel::MetadataFile> {
    static constexpr std::string_view kName = "com.korvex.quon.metadata.metadata_file";
    static constexpr std::string_view kDocumentation = "A metadata file.";
    static constexpr auto kFields = std::make_tuple(
        Field{"package", &MetadataModel::MetadataFile::package, "Whose metadata it holds."},
        Field{"cli", &MetadataModel::MetadataFile::cli, "For command lines."},
        Field{"metamodel", &MetadataModel::MetadataFile::metamodel, "For whoever reads the API."},
        Field{"authentication", &MetadataModel::MetadataFile::authentication, "For clients."},
        Field{"authorization", &MetadataModel::MetadataFile::authorization,
              "For the server alone."});
};

}  // namespace Quon::Native
