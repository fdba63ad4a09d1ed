#include "plugins/queue_timing.h"

namespace Sentrel {

Timetable MakeTimetable(const PluginCounts& counts, std::int64_t fastPeriodMinutes) {
    Timetable table;
    table.fast.period = static_cast<std::uint64_t>(fastPeriodMinutes) * 60;
    table.medium.period = kMediumPeriodSeconds;
    table.slow.period = kSlowPeriodSeconds;

    table.fast.initialDelay = kFirstDelaySeconds;
    table.medium.initialDelay = table.fast.FirstRun(counts.fast);
    table.slow.initialDelay = table.medium.FirstRun(counts.medium);

    table.minimumPeriod = kThrottleTimeoutSeconds * (counts.fast + counts.medium + counts.slow);
    table.fastPeriodWasRaised = table.minimumPeriod > table.fast.period;
    if (table.fastPeriodWasRaised) {
        table.fast.period = table.minimumPeriod;
    }
    return table;
}

}  // namespace Sentrel
