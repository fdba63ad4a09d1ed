// The lines of a log that grows and is renamed now and then, after those of its older files.
#pragma once

#include "platform/sys/owned_fd.h"

#include <string>
#include <vector>

namespace Ctl {

class AuditReader {
  public:
    // `path` is a host path; older files are PATH.1, the newest, to PATH.8 (Audit::kKeptFiles).
    // Throws Failure, with what to do, when one of them cannot be read, or none exists.
    explicit AuditReader(const std::string& path);

    // The next whole line, without its line feed. False when there is none yet. When another file
    // has taken the path's place, its lines follow those of the one before.
    bool Next(std::string& line);
    // Blocks until there may be more lines. False when that cannot be waited for any more.
    bool WaitForMore();

  private:
    bool Open(const std::string& location);
    bool WasReplaced() const;
    bool ReadMore();

    const std::string location;            // below the host root
    std::vector<Sys::OwnedFd> laterFiles;  // the next one last
    Sys::OwnedFd file;
    Sys::OwnedFd changes;  // inotify, of the directory; none until the first wait
    std::string buffer;
    std::size_t begin = 0;  // of what is not yet taken from `buffer`
};

}  // namespace Ctl
