// The lines of a log that grows and is moved away now and then.
#pragma once

#include "platform/sys/owned_fd.h"

#include <string>

namespace Ctl {

class AuditReader {
  public:
    // `path` is a host path. Throws Failure, with what to do, when it cannot be read.
    explicit AuditReader(const std::string& path);

    // The next whole line, without its line feed. False when there is none yet. When another file
    // has taken the path's place, its lines follow those of the one before.
    bool Next(std::string& line);
    // Blocks until there may be more lines. False when that cannot be waited for any more.
    bool WaitForMore();

  private:
    bool WasReplaced() const;
    bool ReadMore();

    const std::string location;  // below the host root
    Sys::OwnedFd file;
    Sys::OwnedFd changes;  // inotify, of the directory; none until the first wait
    std::string buffer;
    std::size_t begin = 0;  // of what is not yet taken from `buffer`
};

}  // namespace Ctl
