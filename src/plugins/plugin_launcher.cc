#include "plugins/plugin_launcher.h"

#include "platform/kernel/groups/groups.h"
#include "platform/kernel/spawn/process_table.h"
#include "platform/pellmar/config.h"
#include "platform/pellmar/service/app.h"
#include "plugins/discovery.h"
#include "plugins/launch.h"
#include "plugins/queue_timing.h"
#include "plugins/resource_group.h"
#include "state/state_writer.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <exception>
#include <utility>

#include <signal.h>

namespace Sentrel {

using Pellmar::Ref;
using Pellmar::Service::GetApp;
using Pellmar::Service::LogEvent;
using Pellmar::Service::Logger;
using Pellmar::Service::LogInternal;
using Pellmar::System::ScheduledItem;

namespace {

constexpr std::int64_t kMicrosecondsPerSecond = 1'000'000;

std::int64_t InMicroseconds(std::uint64_t seconds) {
    return static_cast<std::int64_t>(seconds) * kMicrosecondsPerSecond;
}

}  // namespace

std::int64_t PluginLauncher::sFastPeriodMinutes = kDefaultFastPeriodMinutes;

std::shared_ptr<PluginLauncher>& PluginLauncher::GetInstance() {
    static std::shared_ptr<PluginLauncher> instance =
        std::make_shared<PluginLauncher>(GetApp().GetScheduler());
    return instance;
}

PluginLauncher::PluginLauncher(Pellmar::System::Scheduler& scheduler)
    : scheduler(scheduler),
      watch([] { return Kernel::Groups().CountMemoryKills(kPluginGroupPath); },
            [this](const PluginEnd& end) { TakeEnd(end); }) {}

PluginLauncher::~PluginLauncher() {
    for (const Queue* queue : {&fast, &medium, &slow}) {
        if (*queue) {
            KillTracked((*queue)->pids);
        }
    }
}

void PluginLauncher::Start() {
    logger = Logger::CreateLogger(Logger::sDefaultLogger, "PluginLauncher");
    ReadSettings();
    CreateQueues();
    DiscoverPlugins();
    ApplyTimetable();
    LogInternal(logger, 5, "About to schedule fast plugins");
    ScheduleLaunches(fast);
    LogInternal(logger, 5, "About to schedule medium plugins");
    ScheduleLaunches(medium);
    LogInternal(logger, 5, "About to schedule slow plugins");
    ScheduleLaunches(slow);
}

std::vector<std::string> PluginLauncher::PluginNames() const {
    std::vector<std::string> names;
    for (const Queue* queue : {&fast, &medium, &slow}) {
        for (const std::shared_ptr<Plugin>& plugin : (*queue)->plugins) {
            names.push_back(plugin->GetName());
        }
    }
    return names;
}

void PluginLauncher::ReadSettings() {
    const Ref<Pellmar::Service::ConfigReader> reader = GetApp().GetConfig()->GetReader();
    std::int32_t fastPeriodMinutes = 0;
    std::int32_t resourcePoolSizeMB = 0;
    (void)reader->GetInt("fast_queue/time_period_in_mins", fastPeriodMinutes);  // 0 when missing
    (void)reader->GetInt("plugin_resource_pool_size_MB", resourcePoolSizeMB);   // likewise
    ApplyFastPeriod(fastPeriodMinutes);
    ApplyResourcePoolSize(resourcePoolSizeMB);
}

void PluginLauncher::ApplyFastPeriod(std::int32_t minutes) {
    sFastPeriodMinutes = FastPeriodMinutes(minutes);
    if (minutes > kDefaultFastPeriodMinutes) {
        LogInternal(logger, 5, "Overridden time period = %1", minutes);
    } else if (minutes != 0) {
        LogInternal(logger, 5, "Configuration supplied time period = %1", minutes);
    }
}

void PluginLauncher::ApplyResourcePoolSize(std::int32_t megabytes) {
    if (IsResourcePoolSize(megabytes)) {
        Plugin::sResourcePoolSizeMB = megabytes;
        LogInternal(logger, 5, "Overridden resource pool size = %1MB", megabytes);
    } else {
        LogInternal(logger, 3, "Configured resource pool size: %1MB is outside limits", megabytes);
    }
}

void PluginLauncher::CreateQueues() {
    fast = std::make_unique<PluginCategory>();
    fast->period = static_cast<std::uint64_t>(sFastPeriodMinutes) * 60;
    fast->initialDelay = kFirstDelaySeconds;
    medium = std::make_unique<PluginCategory>();
    medium->period = kMediumPeriodSeconds;
    slow = std::make_unique<PluginCategory>();
    slow->period = kSlowPeriodSeconds;
}

void PluginLauncher::DiscoverPlugins() {
    ExaminePlugins(logger, [this](const PluginEntry& entry) {
        if (entry.verdict == PluginVerdict::Enabled) {
            AddToQueue(entry.info);
        }
    });
}

void PluginLauncher::AddToQueue(const PluginInfo& info) {
    auto plugin = std::make_shared<Plugin>(info);
    StateWriter::OfThisProcess().AddPlugin(info.name, info.frequency);
    switch (info.frequency) {
        case 1:
            medium->plugins.push_back(std::move(plugin));
            LogInternal(logger, 6, "Plugin added to medium queue: %1", info.name);
            break;
        case 2:
            slow->plugins.push_back(std::move(plugin));
            LogInternal(logger, 6, "Plugin added to slow queue: %1", info.name);
            break;
        default:
            fast->plugins.push_back(std::move(plugin));
            LogInternal(logger, 6, "Plugin added to fast queue: %1", info.name);
            break;
    }
}

void PluginLauncher::ApplyTimetable() {
    const PluginCounts counts{.fast = fast->plugins.size(),
                              .medium = medium->plugins.size(),
                              .slow = slow->plugins.size()};
    const Timetable table = MakeTimetable(counts, sFastPeriodMinutes);
    LogInternal(logger, 5, "Number of fast plugins: %1, Throttle timeout: %2, Min period: %3",
                counts.fast, fast->throttleTimeout, table.minimumPeriod);
    medium->initialDelay = table.medium.initialDelay;
    LogInternal(logger, 5, "Updated medium queue initial delay to: %1 ", medium->initialDelay);
    if (table.fastPeriodWasRaised) {
        fast->period = table.fast.period;
        LogInternal(logger, 5, "Updated the period of the fast plugin queue to %1", fast->period);
    }
    LogInternal(logger, 5, "Number of Medium plugins: %1, Throttle timeout: %2", counts.medium,
                medium->throttleTimeout);
    slow->initialDelay = table.slow.initialDelay;
}

// Called only from Start, so it appends to `items` without the lock: every first run is at least
// kFirstDelaySeconds away.
void PluginLauncher::ScheduleLaunches(Queue& queue) {
    for (std::size_t batch = 0; batch * queue->batchSize < queue->plugins.size(); ++batch) {
        queue->items.emplace_back();
        Ref<ScheduledItem> item;  // not kept: the slot is for the runs after the first
        const std::size_t firstPlugin = batch * queue->batchSize;
        const std::uint64_t delay = queue->initialDelay + batch * queue->throttleTimeout;
        scheduler.Schedule(BatchFunction(batch, firstPlugin, queue), InMicroseconds(delay), item);
        KeepNextLaunch(*queue, firstPlugin, delay);
        LogInternal(logger, 5, "Plugin %1 scheduled", batch);
    }
}

ScheduledItem::Function PluginLauncher::BatchFunction(std::size_t batch, std::size_t firstPlugin,
                                                      Queue& queue) {
    return [launcher = shared_from_this(), batch, firstPlugin, &queue](ScheduledItem* /*item*/) {
        launcher->ScheduleEachBatch(batch, firstPlugin, queue);
    };
}

void PluginLauncher::ScheduleEachBatch(std::size_t batch, std::size_t firstPlugin, Queue& queue) {
    const Hostlib::ExclusiveLockGuard held(pidLock);
    queue->items[batch].Reset();
    KillTracked(queue->pids);
    queue->pids.clear();
    if (firstPlugin == 0) {
        KillTracked(fast->pids);
        KillTracked(medium->pids);
        KillTracked(slow->pids);
    }
    LaunchBatch(firstPlugin, *queue);
    scheduler.Schedule(BatchFunction(batch, firstPlugin, queue), InMicroseconds(queue->period),
                       queue->items[batch]);
    KeepNextLaunch(*queue, firstPlugin, queue->period);
    LogInternal(logger, 7, "Scheduled the next iteration");
}

void PluginLauncher::KeepNextLaunch(const PluginCategory& queue, std::size_t firstPlugin,
                                    std::uint64_t delay) {
    const std::size_t end = std::min(firstPlugin + queue.batchSize, queue.plugins.size());
    for (std::size_t index = firstPlugin; index < end; ++index) {
        StateWriter::OfThisProcess().SetNextLaunch(queue.plugins[index]->GetName(),
                                                   std::chrono::seconds(delay));
    }
}

void PluginLauncher::LaunchBatch(std::size_t firstPlugin, PluginCategory& queue) {
    for (std::size_t offset = 0; offset < queue.batchSize; ++offset) {
        const std::size_t index = firstPlugin + offset;
        if (index >= queue.plugins.size()) {
            LogInternal(logger, 7, "Reached end of plugin list");
            return;
        }
        const std::shared_ptr<Plugin> plugin = queue.plugins[index];
        LogInternal(logger, 7, "About to launch plugin %1 in the batch", plugin->GetName());
        const std::int32_t pid = LaunchPlugin(plugin);
        if (pid != 0) {
            Forget(pid);
            queue.pids.push_back(pid);
        }
    }
}

// The kernel reuses the numbers of exited processes: an old entry must not stand for a new process.
void PluginLauncher::Forget(std::int32_t pid) {
    for (const Queue* queue : {&fast, &medium, &slow}) {
        std::erase((*queue)->pids, pid);
    }
}

std::int32_t PluginLauncher::LaunchPlugin(const std::shared_ptr<Plugin>& plugin) {
    Sys::PidFd process;
    const Launch launch = Sentrel::LaunchPlugin(*plugin, logger, &process);
    if (launch.result != Launch::Result::Started) {
        StateWriter::OfThisProcess().SetNotStarted(plugin->GetName(), launch.error);
    }
    if (launch.pid != 0) {
        // Before adding it to the watch, which may report its end at once.
        StateWriter::OfThisProcess().SetStarted(plugin->GetName(), launch.pid);
        try {
            watch.Add(plugin->GetName(), launch.pid, std::move(process));
        } catch (const std::exception& exception) {
            LogInternal(logger, 3, {.plugin = plugin->GetName(), .pid = launch.pid},
                        "Cannot watch for the exit of plugin %1 (%2): %3", plugin->GetName(),
                        launch.pid, exception.what());
        }
    }
    return launch.pid;
}

void PluginLauncher::TakeEnd(const PluginEnd& end) const {
    StateWriter::OfThisProcess().Count(StateCount::MemoryKills, end.memoryKills);
    StateWriter::OfThisProcess().SetEnded(end.name, end.pid, end.time, end.memoryKills > 0);
    if (end.memoryKills > 0) {
        LogInternal(logger, 3, {.plugin = end.name, .pid = end.pid},
                    "Plugin %1 (%2) exited after the kernel killed %3 of the plugins' processes "
                    "for lack of memory; make it use less memory, or raise plugin_memory_limit_MB",
                    end.name, end.pid, end.memoryKills);
    }
}

void PluginLauncher::KillTracked(const std::vector<std::int32_t>& pids) const {
    for (const std::int32_t pid : pids) {
        if (Kernel::Kill(pid, 0) != 0) {
            if (errno == ESRCH) {
                LogInternal(logger, 7, "%1 already killed", pid);
            }
            continue;
        }
        if (Kernel::Kill(pid, SIGTERM) != 0) {
            const int errorNumber = errno;
            LogInternal(logger, 3, {.pid = pid}, "Could not kill %1: %2", pid, errorNumber);
        } else {
            LogInternal(logger, 5, {.pid = pid, .event = LogEvent::Kill}, "%1 killed", pid);
            StateWriter::OfThisProcess().SetTerminated(pid);
        }
    }
}

}  // namespace Sentrel
