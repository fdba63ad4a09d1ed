// Follows the reports of a host and tells the hooks what became worse or well again.
#pragma once

#include "ctl/watch/host_watch.h"
#include "notify/decisions.h"
#include "notify/files.h"

#include <chrono>
#include <deque>
#include <set>
#include <string>

namespace Notify {

// Where things are, as paths of this machine.
struct Places {
    std::string settings;       // a file
    std::string hookDirectory;  // executables of root
    std::string told;           // a file of this process
};

class Notifier {
  public:
    // Reads settings and what was told before. Throws what ReadSettings and ReadTold throw.
    Notifier(const Places& places, Ctl::HostWatch& watch);

    // Tells what there is to tell, whenever there is, until `stop`, a descriptor, is readable.
    // Throws std::system_error when what was told cannot be kept.
    void Run(int stop);

  private:
    void Tell(int stop);
    bool TellHooks(const Notice& notice, int stop);
    bool TakesOneMore();

    const Places places;
    const Settings settings;
    Ctl::HostWatch& watch;
    Decisions decisions;
    std::deque<Decisions::TimePoint> lastMinute;  // when notices were told
    std::set<std::string> complaints;             // that were logged, to say each once
};

}  // namespace Notify
