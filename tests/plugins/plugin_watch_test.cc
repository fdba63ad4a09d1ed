// What is told of the ends of real processes, with the kernel's count of kills set by the test.
#include "plugins/plugin_watch.h"

#include "platform/sys/mutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using Sentrel::PluginEnd;

// Waits for a signal.
class WaitingChild {
  public:
    WaitingChild() : pid(::fork()) {
        while (pid == 0) {
            ::pause();
        }
    }
    ~WaitingChild() { End(); }
    WaitingChild(const WaitingChild&) = delete;
    WaitingChild& operator=(const WaitingChild&) = delete;

    void End() {
        if (pid > 0) {
            (void)::kill(pid, SIGKILL);
            (void)::waitpid(pid, nullptr, 0);
        }
        pid = -1;
    }
    pid_t pid;
};

// The ends that a watch has told of, as "NAME KILLS".
class ToldEnds {
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
    ToldEnds told;
    WaitingChild first;
    WaitingChild second;
    WaitingChild forgotten;
    Sentrel::PluginWatch watch([&kills] { return kills.load(); },
                               [&told](const PluginEnd& end) { told.Take(end); });
    watch.Add("first", first.pid, Sys::PidFd::Open(first.pid));
    watch.Add("second", second.pid, Sys::PidFd::Open(second.pid));
    kills = 7;
    second.End();
    EXPECT_EQ(told.Await(1), std::vector<std::string>({"second 2"}));
    first.End();
    EXPECT_EQ(told.Await(2).back(), "first 0");
    watch.Add("forgotten", forgotten.pid, Sys::PidFd::Open(forgotten.pid));
    kills = 0;  // the group was created anew
    watch.Add("at once", 1, Sys::PidFd());
    EXPECT_EQ(told.Await(3).back(), "at once 0");
}

}  // namespace
