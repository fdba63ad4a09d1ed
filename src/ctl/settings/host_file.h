// Changes files with the host's values, one at a time and atomically.
#pragma once

#include "ctl/settings/catalog.h"
#include "platform/sys/owned_fd.h"

#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace Ctl {

// A lock on the directory of a file: only its holder changes files there.
class HostFileLock {
  public:
    // Locks the directory of the file at the plain path `path`, which is created with that mode if
    // it is missing. Waits a few seconds at most for other holders. Throws Failure.
    explicit HostFileLock(const std::string& path, mode_t folderMode = 0755);

  private:
    Sys::OwnedFd folder;
};

enum class Comments { Kept, Discarded };

// Sets `key` in the file at the plain path `path`, or removes it if there is no value; keeps other
// members and their order. The caller holds the lock. Throws a std::exception, with what to do, if
// the file is broken, is a link, has comments that are to be kept, or cannot be replaced; the file
// is unchanged then.
void ChangeHostFile(const std::string& path, std::string_view key,
                    const std::optional<SettingValue>& value, Comments comments);

}  // namespace Ctl
