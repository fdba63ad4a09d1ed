// Generates an OpenRPC document (version 1.2.6) of the API from the definitions of its services, at
// build time.
#pragma once

#include "platform/runtime/definition/definition.h"

#include <string>
#include <vector>

namespace Quon::Bindings {

// Returns the document as indented text: a method for each operation, a schema for each structure
// and enumeration, an error for each one that an operation documents. Extension members hold what
// OpenRPC cannot express:
//
//   "x-authentication"   of a method: the security schemes, one of which is enough
//   "x-privileges"       of a method: the privileges that a token must grant, all of them
//   "x-securitySchemes"  of the document: the schemes by name
//
// `version` is the document's. Anybody may call an operation without privileges. Throws
// std::invalid_argument for an error that is not a standard error.
std::string MakeOpenRpc(const std::vector<Definition::Service>& services,
                        const std::string& version);

}  // namespace Quon::Bindings
