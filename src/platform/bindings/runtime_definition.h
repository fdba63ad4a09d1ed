// The definitions of the runtime's own services: metadata and introspection.
#pragma once

#include "platform/runtime/definition/definition.h"

#include <vector>

namespace Quon::Bindings {

// Returns all of them with the structures of their results. No operation requires a privilege.
std::vector<Definition::Service> DescribeRuntimeServices();

}  // namespace Quon::Bindings
