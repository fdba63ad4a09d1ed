// The definitions of the services that the runtime itself brings: metadata and introspection.
#pragma once

#include "platform/runtime/definition/definition.h"

#include <vector>

namespace Quon::Bindings {

// All of them, with the structures that they answer with. No operation takes a privilege.
std::vector<Definition::Service> DescribeRuntimeServices();

}  // namespace Quon::Bindings
