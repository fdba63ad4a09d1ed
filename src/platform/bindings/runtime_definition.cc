#include "platform/bindings/runtime_definition.h"

#include "platform/bindings/service_types.h"
#include "platform/runtime/metadata/metadata_definition.h"
#include "platform/runtime/metadata/metadata_queries.h"

#include <map>
#include <memory>
#include <string_view>

namespace Quon::Bindings {

namespace {

namespace Model = MetadataModel;
using Provider::OperationGroup;

using AddStructure = void (*)(Definition::Service&);

template <typename... Structures>
std::map<std::string_view, AddStructure> ByName() {
    return {{Native::StructureOf<Structures>::kName, &AddTypes<Structures>}...};
}

Definition::Service Describe(const Provider::ApiInterface& api) {
    // The structures in the results of operations; `at` throws when one is missing.
    static const auto sStructures =
        ByName<Model::CommandInfo, Model::NamespaceInfo, Model::ComponentInfo,
               Model::OperationSchemes, Model::PackageSchemes, Model::ServiceSchemes,
               Model::EnumerationInfo, Model::OperationInfo, Model::PackageInfo, Model::ServiceInfo,
               Model::StructureInfo, Model::ProviderInfo>();
    Definition::Service service{api.service, api.documentation, {}, {}, {}};
    for (const Provider::ApiOperation& operation : api.operations) {
        const Definition::Type& result = operation.definition.result;
        if (result.kind == Definition::TypeKind::Structure) {
            sStructures.at(result.name)(service);
        }
        service.operations.push_back(operation.definition);
    }
    return service;
}

}  // namespace

std::vector<Definition::Service> DescribeRuntimeServices() {
    const auto nothing = [](std::string_view /*collection*/) {
        return std::make_shared<const Model::Collection>();  // no operation is called here
    };
    std::vector<Definition::Service> services;
    for (const OperationGroup group : {OperationGroup::Introspection, OperationGroup::Metamodel,
                                       OperationGroup::Authentication, OperationGroup::Cli}) {
        for (const auto& api : Provider::BindGroup(group, nothing)) {
            services.push_back(Describe(*api));
        }
    }
    return services;
}

}  // namespace Quon::Bindings
