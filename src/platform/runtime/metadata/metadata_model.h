// The structures of the metadata file, which the metadata and introspection services answer with as
// well. The file is one JSON object of MetadataFile's shape; each section has lists of structures
// that are told apart by their "id".
//
//   {"package": "com.example", "cli": {..}, "metamodel": {..}, "authentication": {..},
//    "authorization": {..}}
#pragma once

#include "platform/runtime/definition/definition.h"

#include <string>
#include <vector>

namespace Quon::MetadataModel {

// What the parts of an API are.

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
    std::vector<std::string> models;  // structures that tell of it
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

// How a command line reaches the operations: one namespace a service, one command an operation, one
// option a parameter or, where that is a structure, one for each field of it.

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

// By which security schemes callers may authenticate, one of them. What is said of an operation
// holds before what is said of its service, and that before what is said of the package.

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

// Which privileges an operation takes, all of them.
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
