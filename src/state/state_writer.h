// The daemon's side of the state file (state_layout): keeps it while the daemon runs. Nothing
// depends on it; only the operator's tool reads it.
#pragma once

#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "platform/sys/mutex.h"
#include "platform/sys/owned_fd.h"
#include "state/state_layout.h"

#include <chrono>
#include <cstdint>
#include <string_view>

namespace Sentrel {

// All operations but Open and AddPlugin are stores into memory, without a system call; any thread.
class StateWriter {
  public:
    // The daemon's, which its parts tell what happens. Never destroyed.
    static StateWriter& OfThisProcess();

    // Keeps its knowledge to itself until Open.
    StateWriter();
    ~StateWriter();
    StateWriter(const StateWriter&) = delete;
    StateWriter& operator=(const StateWriter&) = delete;

    // Creates the file, and its directory, and fills it from now on. On failure one level-5 line
    // says why, and nothing changes. Once, before another thread uses this object and before
    // AddPlugin.
    void Open(const Pellmar::Ref<Pellmar::Service::Logger>& logger);

    void Count(StateCount what, std::uint64_t number = 1);

    // Main thread, during the start. Makes room in the file; a plugin for which there is none is
    // left out. Later calls that name an unknown plugin do nothing.
    void AddPlugin(std::string_view name, std::uint32_t queue);
    void SetNextLaunch(std::string_view name, std::chrono::seconds fromNow) EXCLUDES(lock);
    void SetStarted(std::string_view name, std::int32_t pid) EXCLUDES(lock);
    // `error` is an error number, or 0 when the launch was refused.
    void SetNotStarted(std::string_view name, int error) EXCLUDES(lock);
    // The daemon sent SIGTERM to the plugin with that process id.
    void SetTerminated(std::int32_t pid) EXCLUDES(lock);
    // Does nothing when a later run of the plugin has begun.
    void SetEnded(std::string_view name, std::int32_t pid,
                  std::chrono::system_clock::time_point time, bool wasMemoryKill) EXCLUDES(lock);

  private:
    class Change;

    StateEntry* Find(std::string_view name) REQUIRES(lock);

    Sys::OwnedFd file;    // none until Open succeeds
    StateLayout* layout;  // of the file, or of memory of its own
    Sys::Mutex lock;      // orders the changes of the entries
};

}  // namespace Sentrel
