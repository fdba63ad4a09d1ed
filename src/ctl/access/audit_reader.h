// Reads the lines of a growing log, beginning with its rotated files, and follows its rotation.
#pragma once

#include "platform/sys/owned_fd.h"

#include <string>
#include <vector>

namespace Ctl {

class AuditReader {
  public:
    // `path` is a host path; older files are PATH.1, the newest, to PATH.8 (Audit::kKeptFiles).
    // Throws Failure, with what to do, if one of them cannot be read or none exists.
    explicit AuditReader(const std::string& path);

    // Reads the next complete line, without its line feed; false if the file has no further one
    // yet. Switches to the new file once the path names another.
    bool Next(std::string& line);
    // Blocks until more lines may have been written; false if it cannot wait.
    bool WaitForMore();

  private:
    bool Open(const std::string& location);
    bool WasReplaced() const;
    bool ReadMore();

    const std::string location;            // below the host root
    std::vector<Sys::OwnedFd> laterFiles;  // in reverse order: the next one is last
    Sys::OwnedFd file;
    Sys::OwnedFd changes;  // inotify on the directory; empty until the first wait
    std::string buffer;
    std::size_t begin = 0;  // of the unread part of `buffer`
};

}  // namespace Ctl
