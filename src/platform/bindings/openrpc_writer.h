// Makes the description of the API for the tools of others, an OpenRPC document (version 1.2.6),
// from the definitions of its services, when the system is built.
#pragma once

#include "platform/runtime/definition/definition.h"

#include <string>
#include <vector>

namespace Quon::Bindings {

// The document as indented text: a method for each operation, a schema for each structure and
// enumeration, an error for each that an operation documents. What OpenRPC has no place for stands
// in members of its own:
//
//   "x-authentication"   of a method: the security schemes, one of which is enough
//   "x-privileges"       of a method: what a token must grant, all of it
//   "x-securitySchemes"  of the document: the schemes by their names
//
// `version` is the document's. Operations without privileges are open to everybody. Throws
// std::invalid_argument for an error that is no standard error.
std::string MakeOpenRpc(const std::vector<Definition::Service>& services,
                        const std::string& version);

}  // namespace Quon::Bindings
