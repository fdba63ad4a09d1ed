#include "platform/bindings/metadata_writer.h"

#include "platform/runtime/call/native.h"
#include "platform/runtime/json/json_writer.h"
#include "platform/runtime/metadata/metadata_definition.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <set>
#include <utility>
#include <vector>

namespace Quon::Bindings {

namespace {

using Definition::Field;
using Definition::Service;
using Definition::Structure;
using Definition::Type;
using Definition::TypeKind;
using MetadataModel::OptionInfo;

const Structure* FindStructure(const Service& service, const std::string& name) {
    const auto found =
        std::find_if(service.structures.begin(), service.structures.end(),
                     [&](const Structure& structure) { return structure.name == name; });
    return found == service.structures.end() ? nullptr : &*found;
}

// Appends an option for the field or, if it is a structure, for each of that structure's fields.
// `above` is the option of the enclosing structure. Structures do not contain themselves.
void AppendOptions(const Service& service, const Field& field, const OptionInfo& above,
                   std::vector<OptionInfo>& options) {
    OptionInfo option{field.name, field.name, ToText(field.type),
                      above.required && !field.type.optional, field.documentation};
    if (!above.name.empty()) {
        option.name = above.name + "-" + field.name;
        option.parameter = above.parameter + "." + field.name;
    }
    const Structure* structure =
        field.type.kind == TypeKind::Structure ? FindStructure(service, field.type.name) : nullptr;
    if (structure == nullptr) {
        options.push_back(std::move(option));
        return;
    }
    for (const Field& inner : structure->fields) {
        AppendOptions(service, inner, option, options);
    }
}

MetadataModel::CliSection MakeCli(const Service& service) {
    MetadataModel::CliSection cli;
    MetadataModel::NamespaceInfo commands{service.id, service.documentation, {}};
    for (const Definition::Operation& operation : service.operations) {
        const std::string id = service.id + "." + operation.name;
        std::vector<OptionInfo> options;
        for (const Field& parameter : operation.parameters) {
            AppendOptions(service, parameter, {"", "", "", true, ""}, options);
        }
        cli.commands.push_back({id, operation.name, service.id, operation.name,
                                operation.documentation, std::move(options)});
        commands.commands.push_back(id);
    }
    cli.namespaces.push_back(std::move(commands));
    return cli;
}

void AddModels(const Service& service, const Type& type, std::set<std::string>& models) {
    if (type.element) {
        AddModels(service, *type.element, models);
    }
    const Structure* structure =
        type.kind == TypeKind::Structure ? FindStructure(service, type.name) : nullptr;
    if (structure != nullptr && models.insert(structure->name).second) {
        for (const Field& field : structure->fields) {
            AddModels(service, field.type, models);
        }
    }
}

MetadataModel::MetamodelSection MakeMetamodel(const Service& service, const std::string& package) {
    MetadataModel::ServiceInfo described{service.id, service.documentation, {}};
    std::set<std::string> models;
    for (const Definition::Operation& operation : service.operations) {
        described.operations.push_back(MetadataModel::Describe(operation));
        AddModels(service, operation.result, models);
    }
    MetadataModel::MetamodelSection metamodel;
    MetadataModel::PackageInfo contents{package, {service.id}, {}, {}};
    for (const Structure& structure : service.structures) {
        contents.structures.push_back(structure.name);
        metamodel.structures.push_back(
            {structure.name, structure.documentation, MetadataModel::Describe(structure.fields)});
    }
    for (const Definition::Enumeration& enumeration : service.enumerations) {
        contents.enumerations.push_back(enumeration.name);
        metamodel.enumerations.push_back(
            {enumeration.name, enumeration.documentation, enumeration.values});
    }
    metamodel.components = {{package, {package}}};
    metamodel.packages.push_back(std::move(contents));
    metamodel.services.push_back(std::move(described));
    metamodel.resources = {{service.id, {models.begin(), models.end()}}};
    return metamodel;
}

MetadataModel::AuthenticationSection MakeAuthentication(const Service& service,
                                                        const std::string& package) {
    const std::vector<std::string> schemes = {kBearerTokenScheme};
    MetadataModel::ServiceSchemes described{service.id, schemes, {}};
    for (const Definition::Operation& operation : service.operations) {
        described.operations.push_back({operation.name, schemes});
    }
    return {{{package, {package}}}, {{package, schemes}}, {std::move(described)}};
}

MetadataModel::AuthorizationSection MakeAuthorization(const Service& service) {
    MetadataModel::AuthorizationSection authorization;
    for (const Definition::Operation& operation : service.operations) {
        authorization.operations.push_back({service.id, operation.name, operation.privileges});
    }
    return authorization;
}

}  // namespace

MetadataModel::MetadataFile MakeMetadata(const Service& service) {
    const std::string package = service.id.substr(0, service.id.rfind('.'));
    return {package, MakeCli(service), MakeMetamodel(service, package),
            MakeAuthentication(service, package), MakeAuthorization(service)};
}

std::string ToText(const MetadataModel::MetadataFile& metadata) {
    constexpr std::size_t kPieceBytes = 4096;
    constexpr int kIndent = 4;
    Protocol::Json::ValueWriter writer(Native::ToData(metadata));
    std::string text;
    while (writer.Next(text, kPieceBytes)) {
    }
    return nlohmann::ordered_json::parse(text).dump(kIndent) + "\n";
}

}  // namespace Quon::Bindings
