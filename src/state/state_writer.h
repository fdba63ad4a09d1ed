// Maintains the state file (state_layout.h) while the daemon runs. Only the operator's tool reads
// it; the daemon does not depend on it.
#pragma once

#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "platform/sys/mutex.h"
#include "platform/sys/owned_fd.h"
#include "state/state_layout.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace Sentrel {

// All operations but Open and AddPlugin only write to memory, without a system call; any thread.
class StateWriter {
  public:
    // The daemon's instance, which its parts notify. Never destroyed.
    static StateWriter& OfThisProcess();

    // Keeps the state in memory until Open.
    StateWriter();
    ~StateWriter();
    StateWriter(const StateWriter&) = delete;
    StateWriter& operator=(const StateWriter&) = delete;

    // Creates the file and its directory and maintains it from now on. On failure logs the reason
    // at level 5 and changes nothing. Call it once, before other threads use this object and before
    // AddPlugin.
    void Open(const Pellmar::Ref<Pellmar::Service::Logger>& logger);

    void Count(StateCount what, std::uint64_t number = 1);
    // How many report names are stored.
    void SetNames(std::size_t count);

    // Calls `listener` after each stored post and each launch, on its thread and maybe under locks
    // of the caller. Once, before another thread uses this object.
    void SetChangeListener(std::function<void()> listener);
    // "3 names, 12 posts, 4 launches; next launch 09:15:12Z".
    std::string StatusText() EXCLUDES(lock);

    // Counts a refused post and keeps it as one of the last. `status` is its answer; 0: its body
    // did not arrive whole.
    void SetRefused(std::string_view name, int status) EXCLUDES(lock);

    // Adds an entry to the file. Main thread, during the start. A plugin beyond the file's capacity
    // is left out; later calls with an unknown plugin do nothing.
    void AddPlugin(std::string_view name, std::uint32_t queue);
    void SetNextLaunch(std::string_view name, std::chrono::seconds fromNow) EXCLUDES(lock);
    void SetStarted(std::string_view name, std::int32_t pid) EXCLUDES(lock);
    // `error` is an error number, or 0 if the launch was refused.
    void SetNotStarted(std::string_view name, int error) EXCLUDES(lock);
    // Records that the daemon sent SIGTERM to the plugin with that process id.
    void SetTerminated(std::int32_t pid) EXCLUDES(lock);
    // Does nothing if a later run of the plugin has started.
    void SetEnded(std::string_view name, std::int32_t pid,
                  std::chrono::system_clock::time_point time, bool wasMemoryKill) EXCLUDES(lock);

  private:
    class Change;

    StateEntry* Find(std::string_view name) REQUIRES(lock);
    void CallListener() const;

    Sys::OwnedFd file;    // empty until Open succeeds
    StateLayout* layout;  // mapped from the file, or allocated before Open
    Sys::Mutex lock;      // serializes changes of the entries and refusals
    std::atomic<std::size_t> names{0};
    std::function<void()> listener;  // may be empty
};

}  // namespace Sentrel
