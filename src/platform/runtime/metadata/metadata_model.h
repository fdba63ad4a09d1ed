// The structures of the metadata file, which the metadata and introspection services also return.
// The file is one JSON object in the form of MetadataFile; each section contains lists of
// structures, identified by their "id".
//
//   {"package": "com.example", "cli": {..}, "metamodel": {..}, "authentication": {..},
//    "authorization": {..}}
#pragma once

#include "platform/runtime/definition/definition.h"

#include <string>
#include <vector>

namespace Quon::MetadataModel {

// The parts of an API.

struct FieldInfo {
    std::string name;
    std::string type;  // Definition::ToText
    bool optional = false;
    std::string documentation;
};
struct OperationInfo {
    std::string name;
    std::string documentation;
    std::vector<FieldInfo> parameters;
    std::string result;  // Definition::ToText
    std::vector<std::string> errors;
};
struct ServiceInfo {
    std::string id;
    std::string documentation;
    std::vector<OperationInfo> operations;
};
struct StructureInfo {
    std::string id;
    std::string documentation;
    std::vector<FieldInfo> fields;
};
struct EnumerationInfo {
    std::string id;
    std::string documentation;
    std::vector<std::string> values;  // in the order of their ordinals
};
struct ResourceInfo {
    std::string id;
    std::vector<std::string> models;  // structures that describe it
};
struct PackageInfo {
    std::string id;
    std::vector<std::string> services;
    std::vector<std::string> structures;
    std::vector<std::string> enumerations;
};
struct ComponentInfo {
    std::string id;
    std::vector<std::string> packages;
};
struct ProviderInfo {
    std::string id;
    std::string fingerprint;  // changes when an operation does
};

// How a command line maps to the operations: each service is a namespace, each operation a command,
// and each parameter, or each field of a parameter that is a structure, an option.

struct OptionInfo {
    std::string name;       // "filter-names", without the leading "--"
    std::string parameter;  // "filter.names"
    std::string type;
    bool required = false;
    std::string documentation;
};
struct CommandInfo {
    std::string id;
    std::string name;
    std::string service;
    std::string operation;
    std::string documentation;
    std::vector<OptionInfo> options;
};
struct NamespaceInfo {
    std::string id;
    std::string documentation;
    std::vector<std::string> commands;
};

// The security schemes by which callers may authenticate; one of them suffices. The schemes of an
// operation override those of its service, which override those of the package.

struct OperationSchemes {
    std::string name;
    std::vector<std::string> schemes;
};
struct ServiceSchemes {
    std::string id;
    std::vector<std::string> schemes;
    std::vector<OperationSchemes> operations;
};
struct PackageSchemes {
    std::string id;
    std::vector<std::string> schemes;
};

// The privileges that an operation requires, all of them.
struct OperationPrivileges {
    std::string service;
    std::string operation;
    std::vector<std::string> privileges;
};

struct CliSection {
    std::vector<NamespaceInfo> namespaces;
    std::vector<CommandInfo> commands;
};
struct MetamodelSection {
    std::vector<ComponentInfo> components;
    std::vector<PackageInfo> packages;
    std::vector<ServiceInfo> services;
    std::vector<ServiceInfo> hiddenServices;  // in no other list
    std::vector<StructureInfo> structures;
    std::vector<EnumerationInfo> enumerations;
    std::vector<ResourceInfo> resources;
};
struct AuthenticationSection {
    std::vector<ComponentInfo> components;
    std::vector<PackageSchemes> packages;
    std::vector<ServiceSchemes> services;
};
struct AuthorizationSection {
    std::vector<OperationPrivileges> operations;
};
struct MetadataFile {
    std::string package;
    CliSection cli;
    MetamodelSection metamodel;
    AuthenticationSection authentication;
    AuthorizationSection authorization;
};

std::vector<FieldInfo> Describe(const std::vector<Definition::Field>& fields);
OperationInfo Describe(const Definition::Operation& operation);

}  // namespace Quon::MetadataModel
