// Watches a host for changes of its reports, and for the start and end of its daemon. Uses inotify
// if the report directory can be read and no other API is named; otherwise a brief API call every
// ten seconds, and a full one for the names that changed.
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
    std::string time = {};  // the report's time, or that of its removal
};

struct HostChanges {
    std::vector<ReportChange> reports;  // by name; includes reports renewed in the same state
    bool isDaemon = false;              // the daemon started or exited
};

// Not thread-safe. When idle, it wakes its user every ten seconds, since reports may have become
// STALE.
class HostWatch {
  public:
    // Reads the host for the first time. `names`: the reports to watch, ignoring case; all if
    // empty. Throws what ReadReports throws.
    HostWatch(Host host, std::vector<std::string> names);

    // For poll(2): readable when Look should be called.
    int Descriptor() const { return readiness.Get(); }
    // The changes since the last call. Waits only for the API. Reports that cannot be read at
    // present stay unchanged; View().problem then says why.
    HostChanges Look();

    const HostView& View() const { return view; }
    const Host& GetHost() const { return host; }
    bool DaemonRuns() const { return runs; }

  private:
    using TimePoint = std::chrono::steady_clock::time_point;

    void InspectHost();
    bool FindDaemon();
    void ReadAll();
    void ReadChanged();
    // Adds to changedNames the names whose file time differs from that in the API's last listing.
    void AskForChangedNames();
    void ForgetTransients();
    HostChanges Renew();
    void SetAlarm();

    const Host given;
    const std::vector<std::string> names;
    Host host;
    PluginSurvey plugins;
    Sys::OwnedFd readiness;  // an epoll instance over the following members
    Sys::OwnedFd alarm;
    Sys::PidFd daemon;
    std::optional<DirectoryEvents> directory;  // unset: the API is used
    std::map<std::string, StoredReport> stored;
    std::map<std::string, std::string>
        listed;  // file times by name, from the API; empty: not known
    std::set<std::string> changedNames;
    bool mayHaveLost = false;            // events were lost: read everything again
    std::optional<TimePoint> settlesAt;  // while a change is in progress
    TimePoint nextRound;
    bool runs = false;
    HostView view;
};

}  // namespace Ctl
