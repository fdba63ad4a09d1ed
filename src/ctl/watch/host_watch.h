// Tells what changes on a host: its reports, and whether its daemon runs. Learns of it by inotify
// where the report directory can be read and no other API is named, else by one brief call of the
// API every ten seconds and a full one for the names that changed.
#pragma once

#include "ctl/host/plugin_survey.h"
#include "ctl/sight/host_view.h"
#include "ctl/watch/directory_events.h"
#include "platform/sys/owned_fd.h"
#include "platform/sys/pid_fd.h"

#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Ctl {

struct ReportChange {
    std::string name;
    std::optional<ReportState> before;  // unset: the report is new
    std::optional<ReportState> state;   // unset: it was removed
    std::string reason = {};
    std::string time = {};  // of the report; of the change when it was removed
};

struct HostChanges {
    std::vector<ReportChange> reports;  // by name; those that were renewed in the same state too
    bool isDaemon = false;              // the daemon came or went
};

// One thread. An idle one wakes its user every ten seconds, when reports may have become STALE.
class HostWatch {
  public:
    // Looks for the first time. `names`: the reports to watch, case aside; all when empty. Throws
    // what ReadReports throws.
    HostWatch(Host host, std::vector<std::string> names);

    // For poll and the like: readable when it is time for Look.
    int Descriptor() const { return readiness.Get(); }
    // What has changed since the last look. Does not wait, but for the API. Reports that cannot be
    // read at present stay as they were: then View().problem says why.
    HostChanges Look();

    const HostView& View() const { return view; }
    const Host& GetHost() const { return host; }
    bool DaemonRuns() const { return runs; }

  private:
    using TimePoint = std::chrono::steady_clock::time_point;

    void LookAtHost();
    bool FindDaemon();
    void ReadAll();
    void ReadChanged();
    // The names whose file time differs from that of the last listing.
    void AskForChangedNames();
    void ForgetTransients();
    HostChanges Renew();
    void SetAlarm();

    const Host given;
    const std::vector<std::string> names;
    Host host;
    PluginSurvey plugins;
    Sys::OwnedFd readiness;  // an epoll instance over what follows
    Sys::OwnedFd alarm;
    Sys::PidFd daemon;
    std::optional<DirectoryEvents> directory;  // none: the API is asked
    std::map<std::string, StoredReport> stored;
    std::map<std::string, std::string> listed;  // file times by name, of the API
    std::set<std::string> changedNames;
    bool mayHaveLost = false;            // events: all is read again
    std::optional<TimePoint> settlesAt;  // while a change is in progress
    TimePoint nextRound;
    bool runs = false;
    HostView view;
};

}  // namespace Ctl
