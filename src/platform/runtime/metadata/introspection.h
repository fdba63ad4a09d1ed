// What a provider tells of itself: the services OperationSvc, ProviderSvc and ServiceSvc.
#pragma once

#include "platform/runtime/call/provider.h"

#include <memory>
#include <string>

namespace Quon::Provider {

// "com.korvex.quon.std.introspection.operation", ".provider" and ".service". They tell of every
// service that is in the container when they are called, themselves included once they are in it.
// `providerId` is how ProviderSvc calls the provider.
ApiInterfaces IntrospectionInterfaces(
    std::weak_ptr<const AsyncApiInterfaceConcurrentContainer> container, std::string providerId);

}  // namespace Quon::Provider
