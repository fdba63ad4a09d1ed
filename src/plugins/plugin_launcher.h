// Runs the plugins: discovers them, lays out their schedule, and launches each in its batch,
// repeatedly, as long as the process runs.
#pragma once

#include "platform/hostlib/exclusive_lock.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "platform/pellmar/work/scheduler.h"
#include "plugins/plugin.h"
#include "plugins/plugin_watch.h"
#include "plugins/queue_timing.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Sentrel {

// The batches of all queues run on threads of the framework, one at a time: each holds `pidLock`.
class PluginLauncher : public std::enable_shared_from_this<PluginLauncher> {
  public:
    // One queue. Its plugins are fixed after discovery; `items` and `pids` change only under the
    // launcher's lock after the start.
    struct PluginCategory {
        std::uint64_t batchSize = kBatchSize;  // plugins launched per batch
        std::uint64_t period = 0;        // seconds from the end of one run of a batch to its next
        std::uint64_t initialDelay = 0;  // seconds from Start to the first run of the first batch
        // Seconds between the first runs of consecutive batches.
        std::uint64_t throttleTimeout = kThrottleTimeoutSeconds;
        std::vector<std::shared_ptr<Plugin>> plugins;
        // One slot for each batch: its pending next run; empty until it has run once.
        std::vector<Pellmar::Ref<Pellmar::System::ScheduledItem>> items;
        // Processes that the queue's batches launched and have not terminated.
        std::vector<std::int32_t> pids;
    };

    // The launcher of the process, created by the first call. Stops the process if its lock cannot
    // be created. Main thread, before any other thread uses it.
    static std::shared_ptr<PluginLauncher>& GetInstance();

    // Use GetInstance, except on a scheduler of your own, which must outlive the launcher. The
    // launcher is not started: it has no logger and no queues.
    explicit PluginLauncher(Pellmar::System::Scheduler& scheduler);
    // Sends SIGTERM to plugins that still run. Pending batches own the launcher, so none is
    // pending.
    ~PluginLauncher();
    PluginLauncher(const PluginLauncher&) = delete;
    PluginLauncher& operator=(const PluginLauncher&) = delete;

    // Reads the settings, discovers the plugins and schedules their first runs. Call it once, on
    // the main thread. Passes on exceptions of the framework, such as for a plugin directory that
    // cannot be listed.
    void Start();

    // The names of the plugins that Start found enabled.
    std::vector<std::string> PluginNames() const;

  private:
    using Queue = std::unique_ptr<PluginCategory>;

    static std::int64_t sFastPeriodMinutes;

    Pellmar::System::Scheduler& scheduler;

    void ReadSettings();
    void ApplyFastPeriod(std::int32_t minutes);
    void ApplyResourcePoolSize(std::int32_t megabytes);
    void CreateQueues();
    void ApplyTimetable();

    void DiscoverPlugins();
    void AddToQueue(const PluginInfo& info);

    void ScheduleLaunches(Queue& queue);
    void ScheduleEachBatch(std::size_t batch, std::size_t firstPlugin, Queue& queue);
    // Creates the function that runs one batch; it owns the launcher until it has run.
    Pellmar::System::ScheduledItem::Function BatchFunction(std::size_t batch,
                                                           std::size_t firstPlugin, Queue& queue);
    // Writes to the state file that the batch is due in `delay` seconds.
    static void KeepNextLaunch(const PluginCategory& queue, std::size_t firstPlugin,
                               std::uint64_t delay);
    void LaunchBatch(std::size_t firstPlugin, PluginCategory& queue) REQUIRES(pidLock);
    void Forget(std::int32_t pid) REQUIRES(pidLock);

    // Returns the process id, or 0 if no process was started.
    std::int32_t LaunchPlugin(const std::shared_ptr<Plugin>& plugin) REQUIRES(pidLock);
    // Sends SIGTERM to those that still run; does not change the list. Call it under the lock,
    // except from the destructor.
    void KillTracked(const std::vector<std::int32_t>& pids) const;

    // Handles the end of a plugin. Called on the thread of the watch.
    void TakeEnd(const PluginEnd& end) const;

    Pellmar::Ref<Pellmar::Service::Logger> logger;
    Queue fast;
    Queue medium;
    Queue slow;
    Hostlib::ExclusiveLock pidLock{"PluginLauncherPidLock"};
    PluginWatch watch;
};

}  // namespace Sentrel
