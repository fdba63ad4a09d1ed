#include "platform/runtime/metadata/introspection.h"

#include "platform/runtime/call/native.h"
#include "platform/runtime/metadata/metadata_definition.h"
#include "platform/runtime/metadata/metadata_queries.h"
#include "platform/runtime/metadata/metadata_section.h"

#include <utility>

namespace Quon::Provider {

namespace {

using MetadataModel::Collection;

Collection DescribeServices(const ApiInterfaces& apis) {
    Collection services;
    for (const auto& api : apis) {
        MetadataModel::ServiceInfo service{api->service, api->documentation, {}};
        for (const ApiOperation& operation : api->operations) {
            service.operations.push_back(MetadataModel::Describe(operation.definition));
        }
        services.entries.emplace(api->service, Native::ToData(service));
    }
    return services;
}

Collection DescribeProvider(const std::string& providerId, const Collection& services) {
    MetadataModel::Fingerprint fingerprint;
    for (const auto& [id, service] : services.entries) {
        fingerprint.Add(service);
    }
    const MetadataModel::ProviderInfo provider{providerId, fingerprint.ToString()};
    Collection providers;
    providers.entries.emplace(providerId, Native::ToData(provider));
    return providers;
}

}  // namespace

ApiInterfaces IntrospectionInterfaces(
    std::weak_ptr<const AsyncApiInterfaceConcurrentContainer> container, std::string providerId) {
    // A weak reference, since the container will own these services.
    const auto source = [container = std::move(container),
                         providerId = std::move(providerId)](std::string_view collection) {
        const auto held = container.lock();
        Collection services = DescribeServices(held ? held->All() : ApiInterfaces());
        if (collection == "providers") {
            services = DescribeProvider(providerId, services);
        }
        return std::make_shared<const Collection>(std::move(services));
    };
    return BindGroup(OperationGroup::Introspection, source);
}

}  // namespace Quon::Provider
