// Reads from the metadata file what a call of each operation needs.
#pragma once

#include "platform/runtime/call/authz_info.h"
#include "platform/runtime/call/logger.h"
#include "platform/runtime/values/localizer.h"

#include <istream>
#include <vector>

namespace Quon::Authz::Metadata {

class LoadAuthzInfoMetadata {
  public:
    // Adds what the sections "authentication" (the schemes) and "authorization" (the privileges) of
    // a metadata file say. False on failure, also of a stream that could not be opened: `messages`
    // tells why, and `info` is of no use then. Does not throw.
    [[nodiscard]] static bool Load(std::istream& file, AuthzInfo& info, Logger& logger,
                                   std::vector<L10n::LocalizableMessage>& messages);
};

}  // namespace Quon::Authz::Metadata
