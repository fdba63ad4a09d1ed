// Finds the report names that have changed in a report directory, by inotify(7).
#pragma once

#include "platform/sys/owned_fd.h"

#include <set>
#include <string>

namespace Ctl {

class DirectoryEvents {
  public:
    // Starts watching. Does not throw; IsWatching says whether it succeeded.
    explicit DirectoryEvents(std::string directory);

    bool IsWatching() const { return isWatching; }
    // Readable when there are events. -1 if the kernel grants this user no inotify instance.
    int Descriptor() const { return events.Get(); }

    // Reads the pending events and adds the names of the links that were created, renamed or
    // removed. False if events were lost or the directory itself was removed, so that every name
    // may have changed; Restart then watches it again.
    bool AddChangedNames(std::set<std::string>& names);
    void Restart();

  private:
    const std::string directory;
    Sys::OwnedFd events;
    bool isWatching = false;
};

}  // namespace Ctl
