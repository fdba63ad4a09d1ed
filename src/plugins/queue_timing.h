// Computes the schedule of the plugins' batches. All times are seconds after the launcher's start
// unless stated otherwise.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Sentrel {

// The interval between the first runs of consecutive batches: the slot of one plugin.
inline constexpr std::uint64_t kThrottleTimeoutSeconds = 30;
inline constexpr std::uint64_t kFirstDelaySeconds = 30;
inline constexpr std::uint64_t kBatchSize = 1;
inline constexpr std::int64_t kDefaultFastPeriodMinutes = 5;
inline constexpr std::uint64_t kMediumPeriodSeconds = 3600;
inline constexpr std::uint64_t kSlowPeriodSeconds = 86400;

// The fast queue's period in minutes for the setting "fast_queue/time_period_in_mins" (0 if
// absent), which is used only if it is longer than the default.
constexpr std::int64_t FastPeriodMinutes(std::int32_t setting) {
    return setting > kDefaultFastPeriodMinutes ? setting : kDefaultFastPeriodMinutes;
}

struct QueueTiming {
    std::uint64_t period = 0;  // from the end of one run of a batch to its next
    std::uint64_t initialDelay = 0;

    // When the batch with that index first runs.
    std::uint64_t FirstRun(std::size_t batch) const {
        return initialDelay + batch * kThrottleTimeoutSeconds;
    }
};

struct PluginCounts {
    std::size_t fast = 0;
    std::size_t medium = 0;
    std::size_t slow = 0;
};

struct Timetable {
    QueueTiming fast;
    QueueTiming medium;
    QueueTiming slow;
    // One slot for each plugin of all queues; the fast queue's period is at least this.
    std::uint64_t minimumPeriod = 0;
    bool fastPeriodWasRaised = false;
};

// The first runs of all plugins follow each other at the interval of a slot: fast, then medium,
// then slow.
Timetable MakeTimetable(const PluginCounts& counts, std::int64_t fastPeriodMinutes);

}  // namespace Sentrel
