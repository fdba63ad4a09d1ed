// Reads the privileges that each operation requires from the metadata file.
#pragma once

#include "platform/runtime/call/authz_info.h"
#include "platform/runtime/call/logger.h"
#include "platform/runtime/values/localizer.h"

#include <istream>
#include <vector>

namespace Quon::Authz::Metadata {

class LoadAuthzInfoMetadata {
  public:
    // Adds the content of the sections "authentication" (the schemes) and "authorization" (the
    // privileges) of a metadata file. On failure, also of a stream that could not be opened,
    // returns false and sets `messages` to the reasons; `info` is then unusable. Does not throw.
    [[nodiscard]] static bool Load(std::istream& file, AuthzInfo& info, Logger& logger,
                                   std::vector<L10n::LocalizableMessage>& messages);
};

}  // namespace Quon::Authz::Metadata
