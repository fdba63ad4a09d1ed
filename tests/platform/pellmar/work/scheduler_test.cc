// When scheduled functions run, on a clock that the tests move.
#include "platform/pellmar/work/scheduler.h"

#include "support/manual_clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>

namespace Pellmar::System {
namespace {

using std::chrono::microseconds;
using std::chrono::seconds;
using Test::ManualClock;

constexpr std::int64_t kSecond = 1'000'000;

// Set once; waited for under one generous deadline. Whoever saw it set may destroy it.
class Event {
  public:
    void Set() EXCLUDES(lock) {
        Sys::MutexLock guard(lock);
        isSet = true;
        changed.NotifyAll();
    }
    bool Wait() EXCLUDES(lock) {
        const auto deadline = std::chrono::steady_clock::now() + seconds(30);
        Sys::MutexLock guard(lock);
        while (!isSet && changed.WaitUntil(lock, deadline)) {
        }
        return isSet;
    }
    bool IsSet() EXCLUDES(lock) {
        Sys::MutexLock guard(lock);
        return isSet;
    }

  private:
    Sys::Mutex lock;
    Sys::Condition changed;
    bool isSet GUARDED_BY(lock) = false;
};

// Sets an event when the last copy is gone.
std::shared_ptr<void> SetsAtItsEnd(Event& event) {
    return {nullptr, [&event](void*) { event.Set(); }};
}

class SchedulerTest : public testing::Test {
  protected:
    Ref<ScheduledItem> Schedule(ScheduledItem::Function function, std::int64_t delay) {
        Ref<ScheduledItem> item;
        scheduler->Schedule(std::move(function), delay, item);
        return item;
    }
    Ref<ScheduledItem> ScheduleEvent(Event& event, std::int64_t delay) {
        return Schedule([&event](ScheduledItem*) { event.Set(); }, delay);
    }

    ManualClock clock;
    ThreadPool pool;
    std::unique_ptr<Scheduler> scheduler = std::make_unique<Scheduler>(pool, clock);
};

TEST_F(SchedulerTest, RunsAFunctionWhenItsDelayHasPassedAndNotBefore) {
    Event ran;
    ScheduleEvent(ran, 5 * kSecond);
    ASSERT_TRUE(clock.AwaitWaiter());
    clock.Advance(seconds(5) - microseconds(1));
    ASSERT_TRUE(clock.AwaitWaiter());  // looked at the time and found it too early
    EXPECT_FALSE(ran.IsSet());
    clock.Advance(microseconds(1));
    EXPECT_TRUE(ran.Wait());
}

TEST_F(SchedulerTest, PutsAnEarlierItemBeforeTheOneItWaitsFor) {
    Event late;
    Event early;
    ScheduleEvent(late, 60 * kSecond);
    ASSERT_TRUE(clock.AwaitWaiter());
    ScheduleEvent(early, kSecond);
    clock.Advance(seconds(1));
    EXPECT_TRUE(early.Wait());
    EXPECT_FALSE(late.IsSet());
    clock.Advance(seconds(59));
    EXPECT_TRUE(late.Wait());
}

TEST_F(SchedulerTest, RunsAtOnceWithoutAPositiveDelay) {
    for (const std::int64_t delay :
         {std::int64_t{0}, std::int64_t{-1}, -kSecond, std::numeric_limits<std::int64_t>::min()}) {
        Event ran;
        ScheduleEvent(ran, delay);
        EXPECT_TRUE(ran.Wait()) << delay;
    }
}

TEST_F(SchedulerTest, DoesNotLetDueFunctionsWaitForEachOther) {
    const auto release = std::make_shared<Event>();
    Event isBlocked;
    Event ran;
    Schedule(
        [&isBlocked, release](ScheduledItem*) {
            isBlocked.Set();
            EXPECT_TRUE(release->Wait());
        },
        0);
    ASSERT_TRUE(isBlocked.Wait());
    ScheduleEvent(ran, 0);
    EXPECT_TRUE(ran.Wait());
    release->Set();
}

TEST_F(SchedulerTest, DropsWhatIsPendingAtItsEnd) {
    Event ran;
    Event released;
    auto token = SetsAtItsEnd(released);
    Schedule([&ran, token](ScheduledItem*) { ran.Set(); }, kSecond);
    token.reset();
    ASSERT_TRUE(clock.AwaitWaiter());
    scheduler.reset();
    EXPECT_TRUE(released.IsSet());
    EXPECT_FALSE(ran.IsSet());
}

}  // namespace
}  // namespace Pellmar::System
