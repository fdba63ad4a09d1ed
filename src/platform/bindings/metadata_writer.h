// Makes the metadata file of a service from its definition, when the system is built. The file's
// format is the runtime's (metadata_model.h).
#pragma once

#include "platform/runtime/definition/definition.h"
#include "platform/runtime/metadata/metadata_model.h"

#include <string>

namespace Quon::Bindings {

// The metadata file of the reports service on a host (a host path).
inline constexpr const char* kMetadataPath =
    "/usr/lib/korvex/quon/observability_quon_metadata.json";

// How callers of every operation of the service authenticate.
inline constexpr const char* kBearerTokenScheme = "com.korvex.quon.std.security.bearer_token";

// All four sections. The package is the service's identifier up to its last ".". The resource that
// the service tells of is called like the service; its models are the structures in its results.
MetadataModel::MetadataFile MakeMetadata(const Definition::Service& service);

// The text of a metadata file, indented for people who set privileges in it.
std::string ToText(const MetadataModel::MetadataFile& metadata);

}  // namespace Quon::Bindings
