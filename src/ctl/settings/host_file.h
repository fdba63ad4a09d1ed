// Changes of the files with the host's values, one at a time and whole or not at all.
#pragma once

#include "ctl/settings/catalog.h"
#include "platform/sys/owned_fd.h"

#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace Ctl {

// Whoever holds it is the only one that changes files in the folder of one.
class HostFileLock {
  public:
    // Of the file at the plain path `path`; makes its folder with that mode when it is missing, and
    // waits for others, for some seconds at most. Throws Failure.
    explicit HostFileLock(const std::string& path, mode_t folderMode = 0755);

  private:
    Sys::OwnedFd folder;
};

enum class Comments { Kept, Discarded };

// Gives `key` that value in the file at the plain path `path`, or takes it away when there is none;
// other members, and their order, stay. Under its lock. Throws a std::exception, with what to do,
// when the file is broken, is a link, has comments that are to be kept, or cannot be replaced; it
// is as before then.
void ChangeHostFile(const std::string& path, std::string_view key,
                    const std::optional<SettingValue>& value, Comments comments);

}  // namespace Ctl
