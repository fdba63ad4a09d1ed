// Makes services of collections: the rows of the table of operations, bound to what they ask.
#pragma once

#include "platform/runtime/call/provider.h"
#include "platform/runtime/metadata/metadata_section.h"
#include "platform/runtime/metadata/runtime_operations.h"

#include <functional>
#include <memory>
#include <string_view>

namespace Quon::Provider {

// Gives the collection of that name, one of those that the group's rows name. Never null.
using CollectionSource =
    std::function<std::shared_ptr<const MetadataModel::Collection>(std::string_view name)>;

// One service for each service of the group's rows, in their order. An identifier that its
// collection does not have is answered with not_found. `source` is asked at every call.
ApiInterfaces BindGroup(OperationGroup group, const CollectionSource& source);

}  // namespace Quon::Provider
