// Generates the metadata file of a service from its definition at build time. metadata_model.h
// describes the file's format.
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

// Returns all four sections. The package is the service's identifier up to its last ".". The
// resource is named like the service; its models are the structures in the service's results.
MetadataModel::MetadataFile MakeMetadata(const Definition::Service& service);

// The text of a metadata file, indented for administrators who edit its privileges.
std::string ToText(const MetadataModel::MetadataFile& metadata);

}  // namespace Quon::Bindings
