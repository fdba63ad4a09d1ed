// A host of the tests' own with a plugin directory and a configuration store, and a launcher on it
// whose clock the test drives.
#pragma once

#include "platform/pellmar/work/scheduler.h"
#include "platform/pellmar/work/thread_pool.h"
#include "plugins/plugin_launcher.h"
#include "support/captured_log.h"
#include "support/manual_clock.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace PluginTest {

// The end of a script that runs until somebody ends it.
inline constexpr const char* kEndless = "exec sleep 1000";

// An empty plugin directory and store below SENTREL_ROOT, which is one directory for the whole
// program, emptied for each object. SIGCHLD is ignored while it lives, as the daemon does.
class PluginHost {
  public:
    PluginHost();
    ~PluginHost();
    PluginHost(const PluginHost&) = delete;
    PluginHost& operator=(const PluginHost&) = delete;

    // The path of an entry of the plugin directory, below the root.
    std::string EntryPath(std::string_view name) const;
    // An executable sh script, and its vendor's entry unless that is empty.
    void AddScript(std::string_view name, std::string_view body, std::string_view entry = "") const;
    // The vendor's entry of a plugin; `text` need not be JSON.
    void Configure(std::string_view name, std::string_view text,
                   std::string_view component = "oru") const;
    // Makes a FIFO outside the root, for a plugin to write to, and gives its path.
    std::string MakeOutput() const;

  private:
    void (*previous)(int);
};

// The lines that a launcher writes while it starts, at level 7, with what `prepare` put on the host
// and `daemonEntry` in the daemon's store entry. In a process of its own, since settings that apply
// are the process's.
std::vector<std::string> StartLog(std::string_view daemonEntry,
                                  const std::function<void(const PluginHost&)>& prepare);

// Blocks until the process has ended.
void WaitUntilEnded(int pid);

// A started launcher in the process table's resource group; ends what it launched.
class DrivenLauncher {
  public:
    explicit DrivenLauncher(const PluginHost& host, std::string_view daemonEntry = "{}");
    // NOLINTNEXTLINE(bugprone-exception-escape): a process that does not end is the test's end
    ~DrivenLauncher();
    DrivenLauncher(const DrivenLauncher&) = delete;
    DrivenLauncher& operator=(const DrivenLauncher&) = delete;

    const Test::CapturedLog& Log() const { return log; }
    // Moves the clock on and blocks until `batches` more batches have run to their end.
    void Advance(std::chrono::seconds duration, std::size_t batches);
    // Of the plugin that was launched last.
    int LastPid() const;

  private:
    Test::CapturedLog log;
    Test::ManualClock clock;
    Pellmar::System::ThreadPool pool;
    std::unique_ptr<Pellmar::System::Scheduler> scheduler;
    std::size_t batchesRun = 0;
};

}  // namespace PluginTest
