// Watches the launched plugins and tells of each when it has ended. Why it ended is known as far as
// the kernel's kills for lack of memory go: exit statuses are never collected.
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
    // Processes of the plugins' group that the kernel killed for lack of memory since the previous
    // end of a plugin: this plugin, what it started, or, when several run, what another started.
    std::uint64_t memoryKills = 0;
};

// Waits on a thread of the pool, and on none while no plugin runs. Any thread.
class PluginWatch {
  public:
    // `countMemoryKills` gives the kernel's kills in the group so far. Both are called by the
    // watching thread; `take` may not call this object. Throws Pellmar::IOException when the system
    // refuses a descriptor.
    PluginWatch(std::function<std::uint64_t()> countMemoryKills,
                std::function<void(const PluginEnd&)> take);
    // Returns once no function is running any more. Plugins that still run are forgotten.
    ~PluginWatch();
    PluginWatch(const PluginWatch&) = delete;
    PluginWatch& operator=(const PluginWatch&) = delete;

    // Watches a plugin from its launch on. An empty `process` has ended. Throws what the pool
    // throws when the system refuses a thread; the plugin is not watched then.
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
    void TellEnded(std::vector<Running>& running);

    const std::function<std::uint64_t()> countMemoryKills;
    const std::function<void(const PluginEnd&)> take;
    const Sys::OwnedFd wake;             // an event counter: something was added, or stop
    std::uint64_t knownMemoryKills = 0;  // the watching thread's
    Sys::Mutex lock;
    Sys::Condition stopped;
    std::vector<Running> added GUARDED_BY(lock);
    bool isWatching GUARDED_BY(lock) = false;
    bool isStopping GUARDED_BY(lock) = false;
};

}  // namespace Sentrel
