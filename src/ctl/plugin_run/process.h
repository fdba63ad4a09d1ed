// One run of a plugin's process: started by the daemon's own launch code, and watched until it
// exits. Posts are received elsewhere.
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

// The number of bytes kept of a plugin's output to one descriptor; the rest is read and dropped.
inline constexpr std::size_t kMaxKeptOutput = 65536;
// How long a plugin may take to exit after SIGTERM.
inline constexpr std::chrono::seconds kEndPatience{5};

struct PluginOutput {
    std::string text;         // the first kMaxKeptOutput bytes at most
    std::uint64_t bytes = 0;  // the size of the whole output
};

struct LeftProcess {
    pid_t pid = 0;
    std::string name;       // the process's name
    bool hasEnded = false;  // exited; otherwise it survived even SIGKILL
};

struct PluginEnd {
    enum class Asked {
        Not,
        TimeWasOver,
        Interrupted  // this program received a signal
    };
    int exitStatus = 0;        // if no signal killed it
    int signal = 0;            // the signal that killed it, or 0
    Asked asked = Asked::Not;  // why it was sent SIGTERM
    bool wasKilled = false;    // it was sent SIGKILL, since it did not exit in time after SIGTERM
    std::chrono::microseconds wallTime{};
    std::chrono::microseconds userTime{};  // includes the children that it waited for
    std::chrono::microseconds systemTime{};
    // The peak resident size of the plugin or of a child that it waited for, in kilobytes.
    std::uint64_t peakKB = 0;
    bool peakIsBound = false;  // the true peak may be lower
    PluginOutput output;
    PluginOutput error;
    std::vector<LeftProcess> left;  // descendants that outlived it
};

// The user and the attributes with which a plugin starts.
struct PluginStarter {
    std::optional<RunUser> user;  // only root can start it as another user
    std::optional<Inheritance> inheritance;
};

class PluginProcess {
  public:
    // Launches `plugin` with /dev/null as standard input, and a socket, like the journal's, as its
    // output and error. From now on this process adopts orphaned descendants, and SIGINT, SIGQUIT,
    // SIGTERM and SIGHUP wait for Await. Call while the process has one thread. Attributes that
    // `starter` leaves unset stay as in this process. Throws std::runtime_error, with what to do,
    // if the plugin cannot be started.
    PluginProcess(const Sentrel::Plugin& plugin, const PluginStarter& starter);
    // Kills the plugin if it was not awaited.
    ~PluginProcess();
    PluginProcess(const PluginProcess&) = delete;
    PluginProcess& operator=(const PluginProcess&) = delete;

    pid_t Pid() const { return pid; }
    // Watches the plugin until it exits. Sends SIGTERM if it runs longer than `timeout`, or if this
    // program receives one of these signals; SIGKILL kEndPatience later, or at a second such
    // signal. Kills the processes that it left behind. Call once.
    PluginEnd Await(std::chrono::seconds timeout, LiveOutput* live);

  private:
    using Clock = std::chrono::steady_clock;

    // The reading end of a socket that the plugin writes to, and the output received.
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
