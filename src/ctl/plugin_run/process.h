// One process of a plugin, from its launch to its end: started by the daemon's own launch, watched
// instead of the daemon. What it posts is not looked at here.
#pragma once

#include "ctl/host/run_user.h"
#include "ctl/plugin_run/inheritance.h"
#include "ctl/plugin_run/live_output.h"
#include "platform/sys/owned_fd.h"
#include "platform/sys/pid_fd.h"
#include "plugins/plugin.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace Ctl {

// Of what a plugin writes to one descriptor, so much is kept; the rest is read and dropped.
inline constexpr std::size_t kMaxKeptOutput = 65536;
// What a plugin may take to end after SIGTERM.
inline constexpr std::chrono::seconds kEndPatience{5};

struct PluginOutput {
    std::string text;         // its beginning, kMaxKeptOutput bytes at most
    std::uint64_t bytes = 0;  // of all of it
};

struct LeftProcess {
    pid_t pid = 0;
    std::string name;       // as it calls itself
    bool hasEnded = false;  // ended here; otherwise not even SIGKILL did it in time
};

struct PluginEnd {
    enum class Asked {
        Not,
        TimeWasOver,
        Interrupted  // by a signal to this program
    };
    int exitStatus = 0;        // when no signal ended it
    int signal = 0;            // that ended it, or 0
    Asked asked = Asked::Not;  // why it was sent SIGTERM
    bool wasKilled = false;    // it was sent SIGKILL, since SIGTERM did not end it in time
    std::chrono::microseconds wallTime{};
    std::chrono::microseconds userTime{};  // of the children that it waited for, too
    std::chrono::microseconds systemTime{};
    // The largest resident size of it or of a child that it waited for, in kilobytes.
    std::uint64_t peakKB = 0;
    bool peakIsBound = false;  // the true peak is that or less
    PluginOutput output;
    PluginOutput error;
    std::vector<LeftProcess> left;  // descendants that outlived it
};

// Who starts a plugin, as it sees that.
struct PluginStarter {
    std::optional<RunUser> user;  // only root can start it as another one
    std::optional<Inheritance> inheritance;
};

class PluginProcess {
  public:
    // Launches `plugin` with /dev/null as its standard input, and a socket that is read here as its
    // output and error, like that of the journal. This process adopts what the plugin leaves
    // behind, and leaves SIGINT, SIGQUIT, SIGTERM and SIGHUP to Await from now on. While it has one
    // thread. What `starter` leaves open is as in this process. Throws std::runtime_error, with
    // what to do, when the plugin cannot be started.
    PluginProcess(const Sentrel::Plugin& plugin, const PluginStarter& starter);
    // Kills it when it has not been awaited.
    ~PluginProcess();
    PluginProcess(const PluginProcess&) = delete;
    PluginProcess& operator=(const PluginProcess&) = delete;

    pid_t Pid() const { return pid; }
    // Watches it to its end. Sends it SIGTERM when `timeout` after its start is over, or when this
    // program gets one of these signals, and SIGKILL kEndPatience later, or at a second such
    // signal. Ends what it left behind. Shows what it does on `live`, unless that is null. Once.
    PluginEnd Await(std::chrono::seconds timeout, LiveOutput* live);

  private:
    using Clock = std::chrono::steady_clock;

    // The end of a socket that the plugin writes to, and what came through it.
    struct Capture {
        Sys::OwnedFd socket;
        PluginOutput taken;
    };

    void Start(const Sentrel::Plugin& plugin, const PluginStarter& starter);
    void Watch(std::chrono::seconds timeout, PluginEnd& end);
    bool TakeSignal() const;
    void Reap(PluginEnd& end);
    void Take(Capture& capture);
    void Drain(Capture& capture);

    Sys::OwnedFd signals;
    Capture output;
    Capture error;
    Sys::PidFd process;
    pid_t pid = 0;
    Clock::time_point started;
    std::uint64_t inheritedPeakKB = 0;
    LiveOutput* live = nullptr;
};

}  // namespace Ctl
