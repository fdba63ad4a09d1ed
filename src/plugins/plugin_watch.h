// Watches the launched plugins and reports when each has exited, along with the kernel's kills for
// lack of memory. Exit statuses are not available.
#pragma once

#include "platform/sys/mutex.h"
#include "platform/sys/owned_fd.h"
#include "platform/sys/pid_fd.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Sentrel {

struct PluginEnd {
    std::string name;
    std::int32_t pid = 0;
    std::chrono::system_clock::time_point time;
    // Processes of the plugins' group that the kernel has killed for lack of memory since the
    // previous plugin exited: this plugin, a process it started, or, if several plugins run, one of
    // another.
    std::uint64_t memoryKills = 0;
};

// Waits on a pool thread, and uses none while no plugin runs. Any thread.
class PluginWatch {
  public:
    // `countMemoryKills` returns the kernel's kills in the group so far. The watching thread calls
    // both functions; `take` must not call this object. Throws Pellmar::IOException if the system
    // refuses a descriptor.
    PluginWatch(std::function<std::uint64_t()> countMemoryKills,
                std::function<void(const PluginEnd&)> take);
    // Returns once no function is running any more. Plugins that still run are forgotten.
    ~PluginWatch();
    PluginWatch(const PluginWatch&) = delete;
    PluginWatch& operator=(const PluginWatch&) = delete;

    // Watches a launched plugin. An empty `process` counts as exited. Throws what the pool throws
    // if the system refuses a thread; the plugin is then not watched.
    void Add(std::string name, std::int32_t pid, Sys::PidFd process) EXCLUDES(lock);

  private:
    struct Running {
        std::string name;
        std::int32_t pid;
        Sys::PidFd process;
    };

    void Watch() EXCLUDES(lock);
    bool TakeAdded(std::vector<Running>& running) EXCLUDES(lock);
    void AwaitEnd(const std::vector<Running>& running) const;
    void ReportEnded(std::vector<Running>& running);

    const std::function<std::uint64_t()> countMemoryKills;
    const std::function<void(const PluginEnd&)> take;
    const Sys::OwnedFd wake;             // an event counter, signalled by Add and the destructor
    std::uint64_t knownMemoryKills = 0;  // used by the watching thread
    Sys::Mutex lock;
    Sys::Condition stopped;
    std::vector<Running> added GUARDED_BY(lock);
    bool isWatching GUARDED_BY(lock) = false;
    bool isStopping GUARDED_BY(lock) = false;
};

}  // namespace Sentrel
