// Which report names have changed in a report directory, as inotify(7) tells it.
#pragma once

#include "platform/sys/owned_fd.h"

#include <set>
#include <string>

namespace Ctl {

class DirectoryEvents {
  public:
    // Begins to watch; throws nothing: IsWatching tells whether that was possible.
    explicit DirectoryEvents(std::string directory);

    bool IsWatching() const { return isWatching; }
    // Readable when there are events. -1 where the kernel has no inotify for this user.
    int Descriptor() const { return events.Get(); }

    // Takes the events that are there and adds the names of the links that were created, renamed or
    // removed. False when events were lost or the directory itself went away, so that every name
    // may have changed; Restart then watches it again.
    bool AddChangedNames(std::set<std::string>& names);
    void Restart();

  private:
    const std::string directory;
    Sys::OwnedFd events;
    bool isWatching = false;
};

}  // namespace Ctl
