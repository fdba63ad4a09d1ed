// Follows the reports of a host and runs the hooks when one becomes worse or recovers.
#pragma once

#include "ctl/watch/host_watch.h"
#include "notify/decisions.h"
#include "notify/files.h"

#include <chrono>
#include <deque>
#include <set>
#include <string>

namespace Notify {

// The notifier's files, as paths of this machine.
struct Places {
    std::string settings;       // a file
    std::string hookDirectory;  // executables of root
    std::string lastNotices;    // the file with the last notices
};

class Notifier {
  public:
    // Reads the settings and the last notices. Throws what ReadSettings and ReadLastNotices throw.
    Notifier(const Places& places, Ctl::HostWatch& watch);

    // Sends notices as they become due, until the descriptor `stop` is readable. Throws
    // std::system_error if they cannot be recorded.
    void Run(int stop);

  private:
    void Tell(int stop);
    bool RunHooks(const Notice& notice, int stop);
    bool TakesOneMore();

    const Places places;
    const Settings settings;
    Ctl::HostWatch& watch;
    Decisions decisions;
    std::deque<Decisions::TimePoint> lastMinute;  // when notices were sent
    std::set<std::string> complaints;             // logged so far, so that each is logged once
};

}  // namespace Notify
