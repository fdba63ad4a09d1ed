// The measurements of a benchmark program and the line of JSON that it prints.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

#include <sys/resource.h>

namespace Bench {

using Clock = std::chrono::steady_clock;

struct Measurement {
    std::vector<std::chrono::nanoseconds> latencies{};  // one for each measured post
    std::chrono::nanoseconds elapsed{0};  // the time in which the measured posts were made
    std::uint64_t posts = 0;              // all posts, including warm-up
    std::uint64_t errors = 0;             // answers with another status than expected
};

// The latency in microseconds that a `fraction` (0 to 1) of the samples does not exceed; 0 without
// samples. Reorders the samples.
inline double Percentile(std::vector<std::chrono::nanoseconds>& samples, double fraction) {
    if (samples.empty()) {
        return 0;
    }
    const auto rank = static_cast<std::size_t>(fraction * static_cast<double>(samples.size()));
    const auto nth =
        samples.begin() + static_cast<std::ptrdiff_t>(std::min(rank, samples.size() - 1));
    std::nth_element(samples.begin(), nth, samples.end());
    return std::chrono::duration<double, std::micro>(*nth).count();
}

// Processor time of all threads of this process so far, in microseconds.
inline double ProcessorMicroseconds() {
    rusage usage{};
    (void)::getrusage(RUSAGE_SELF, &usage);  // fails for an invalid argument only
    const auto microseconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
    };
    return microseconds(usage.ru_utime) + microseconds(usage.ru_stime);
}

// Prints posts, errors, posts per second, p50 and p99 in microseconds, and this program's own
// processor time per post in microseconds.
inline void Print(Measurement measurement) {
    const double seconds = std::chrono::duration<double>(measurement.elapsed).count();
    const auto measured = static_cast<double>(measurement.latencies.size());
    const double median = Percentile(measurement.latencies, 0.50);
    const double high = Percentile(measurement.latencies, 0.99);
    (void)std::printf(
        "{\"posts\": %llu, \"errors\": %llu, \"rate\": %.1f, \"p50\": %.2f, \"p99\": %.2f, "
        "\"cpu\": %.2f}\n",
        static_cast<unsigned long long>(measurement.posts),
        static_cast<unsigned long long>(measurement.errors), seconds > 0 ? measured / seconds : 0.0,
        median, high,
        measurement.posts > 0 ? ProcessorMicroseconds() / static_cast<double>(measurement.posts)
                              : 0.0);
}

}  // namespace Bench
