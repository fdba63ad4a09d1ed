// What is told of the ends of real processes, with the kernel's count of kills set by the test.
#include "plugins/plugin_watch.h"

#include "platform/sys/mutex.h"
#include "support/descriptors.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Sentrel::PluginEnd;

// The ends that a watch has told of, as "NAME KILLS".
class ReportedEnds {
  public:
    void Take(const PluginEnd& end) {
        const Sys::MutexLock guard(lock);
        ends.push_back(end.name + " " + std::to_string(end.memoryKills));
        changed.NotifyAll();
    }
    std::vector<std::string> Await(std::size_t count) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        const Sys::MutexLock guard(lock);
        while (ends.size() < count) {
            if (!changed.WaitUntil(lock, deadline)) {
                throw std::runtime_error("the end of a plugin was not told");
            }
        }
        return ends;
    }

  private:
    Sys::Mutex lock;
    Sys::Condition changed;
    std::vector<std::string> ends;
};

TEST(PluginWatch, ReportsEachExitAndTheKillsSinceThePreviousOne) {
    std::atomic<std::uint64_t> kills = 5;
    ReportedEnds told;
    ::Test::IdleProcess first;
    ::Test::IdleProcess second;
    ::Test::IdleProcess forgotten;
    Sentrel::PluginWatch watch([&kills] { return kills.load(); },
                               [&told](const PluginEnd& end) { told.Take(end); });
    watch.Add("first", first.Pid(), Sys::PidFd::Open(first.Pid()));
    watch.Add("second", second.Pid(), Sys::PidFd::Open(second.Pid()));
    kills = 7;
    second.End();
    EXPECT_EQ(told.Await(1), std::vector<std::string>({"second 2"}));
    first.End();
    EXPECT_EQ(told.Await(2).back(), "first 0");
    watch.Add("forgotten", forgotten.Pid(), Sys::PidFd::Open(forgotten.Pid()));
    kills = 0;  // the group was created anew
    watch.Add("at once", 1, Sys::PidFd());
    EXPECT_EQ(told.Await(3).back(), "at once 0");
}

}  // namespace
