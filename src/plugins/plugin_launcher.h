// Runs the plugins: lays out in time those that discovery finds, and launches each in its batch,
// again and again, for the life of the process.
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
    // One queue. Its plugins are fixed once they have been discovered; `items` and `pids` change
    // under the launcher's lock only, once it has started.
    struct PluginCategory {
        std::uint64_t batchSize = kBatchSize;  // plugins launched per batch
        std::uint64_t period = 0;        // seconds from the end of one run of a batch to its next
        std::uint64_t initialDelay = 0;  // seconds from Start to the first run of the first batch
        // Seconds between the first runs of consecutive batches.
        std::uint64_t throttleTimeout = kThrottleTimeoutSeconds;
        std::vector<std::shared_ptr<Plugin>> plugins;
        // One slot a batch: its pending next run; empty until it has run once.
        std::vector<Pellmar::Ref<Pellmar::System::ScheduledItem>> items;
        // Processes that the queue's batches launched and did not end yet.
        std::vector<std::int32_t> pids;
    };

    // The launcher of the process, made at the first call. Stops the process when its lock cannot
    // be made. Main thread, before any other one uses it.
    static std::shared_ptr<PluginLauncher>& GetInstance();

    // Use GetInstance. Not started: no logger, no queues.
    PluginLauncher();
    // Sends SIGTERM to what still runs. Pending batches hold the launcher, so none is pending.
    ~PluginLauncher();
    PluginLauncher(const PluginLauncher&) = delete;
    PluginLauncher& operator=(const PluginLauncher&) = delete;

    // Reads the settings, discovers the plugins and schedules their first runs. Once, on the main
    // thread. Exceptions of the framework pass, such as a plugin directory that cannot be listed.
    void Start();

    // The names of the plugins that Start found enabled.
    std::vector<std::string> PluginNames() const;

  private:
    using Queue = std::unique_ptr<PluginCategory>;

    static std::int64_t sFastPeriodMinutes;

    void ReadSettings();
    void ApplyFastPeriod(std::int32_t minutes);
    void ApplyResourcePoolSize(std::int32_t megabytes);
    void CreateQueues();
    void ApplyTimetable();

    void DiscoverPlugins();
    void AddToQueue(const PluginInfo& info);

    void ScheduleLaunches(Queue& queue);
    void ScheduleEachBatch(std::size_t batch, std::size_t firstPlugin, Queue& queue);
    // The function that runs one batch, holding the launcher until it has run.
    Pellmar::System::ScheduledItem::Function BatchFunction(std::size_t batch,
                                                           std::size_t firstPlugin, Queue& queue);
    // Tells the state file that the batch is due in `delay` seconds.
    static void KeepNextLaunch(const PluginCategory& queue, std::size_t firstPlugin,
                               std::uint64_t delay);
    void LaunchBatch(std::size_t firstPlugin, PluginCategory& queue) REQUIRES(pidLock);
    void Forget(std::int32_t pid) REQUIRES(pidLock);

    // The process id, or 0 when no process was started.
    std::int32_t LaunchPlugin(const std::shared_ptr<Plugin>& plugin) REQUIRES(pidLock);
    // Sends SIGTERM to those that still run. The list stays as it is. Under the lock, but for the
    // destructor.
    void KillTracked(const std::vector<std::int32_t>& pids) const;

    // Thread of the watch. What is to be known of a plugin's end begins here.
    void TakeEnd(const PluginEnd& end) const;

    Pellmar::Ref<Pellmar::Service::Logger> logger;
    Queue fast;
    Queue medium;
    Queue slow;
    Hostlib::ExclusiveLock pidLock{"PluginLauncherPidLock"};
    PluginWatch watch;
};

}  // namespace Sentrel
