// Creates services that query collections, from the rows of the table of operations.
#pragma once

#include "platform/runtime/call/provider.h"
#include "platform/runtime/metadata/metadata_section.h"
#include "platform/runtime/metadata/runtime_operations.h"

#include <functional>
#include <memory>
#include <string_view>

namespace Quon::Provider {

// Returns the collection with one of the names in the group's rows. Never null.
using CollectionSource =
    std::function<std::shared_ptr<const MetadataModel::Collection>(std::string_view name)>;

// Creates a service for each service in the group's rows, in their order. An identifier that its
// collection does not contain results in not_found. Calls `source` for each call.
ApiInterfaces BindGroup(OperationGroup group, const CollectionSource& source);

}  // namespace Quon::Provider
