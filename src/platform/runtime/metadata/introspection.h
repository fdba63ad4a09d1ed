// The services with which a provider describes itself: OperationSvc, ProviderSvc and ServiceSvc.
#pragma once

#include "platform/runtime/call/provider.h"

#include <memory>
#include <string>

namespace Quon::Provider {

// Creates "com.korvex.quon.std.introspection.operation", ".provider" and ".service". They describe
// all services in the container at the time of a call, including themselves once added.
// `providerId` is the provider's identifier in ProviderSvc.
ApiInterfaces IntrospectionInterfaces(
    std::weak_ptr<const AsyncApiInterfaceConcurrentContainer> container, std::string providerId);

}  // namespace Quon::Provider
