// The pool and its queues: order within a queue, side by side between queues, the bound on both.
#include "platform/pellmar/work/work_queue.h"

#include "platform/pellmar/work/thread_pool.h"
#include "support/captured_log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <latch>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using Pellmar::Ref;
using Pellmar::System::DeferredQueue;
using Pellmar::System::ThreadPool;
using Pellmar::System::WorkQueue;
using Test::CapturedLog;

TEST(ThreadPool, RunsAllTasksAtOnce) {
    ThreadPool pool;
    std::latch allRun(40);
    std::latch allEnded(40);
    for (int task = 0; task < 40; ++task) {
        pool.Run([&] {
            allRun.arrive_and_wait();
            allEnded.count_down();
        });
    }
    allEnded.wait();
}

TEST(ThreadPool, ContinuesAfterATaskThatThrows) {
    const CapturedLog log;
    ThreadPool pool;
    std::promise<void> second;
    pool.Run([] { throw std::runtime_error("no luck"); });
    ASSERT_TRUE(log.WaitFor("3 sentrel: A task of the pool failed: no luck"));
    pool.Run([&] { second.set_value(); });
    second.get_future().wait();
}

TEST(WorkQueue, RunsItsJobsOneAtATimeInOrder) {
    ThreadPool pool;
    const Ref<WorkQueue> queue = pool.CreateWorkQueue("in-order");
    std::vector<int> order;  // without a lock: the queue is what keeps the jobs apart
    std::latch ended(500);
    for (int job = 0; job < 500; ++job) {
        queue->Submit([&order, &ended, job] {
            order.push_back(job);
            ended.count_down();
        });
    }
    ended.wait();
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
    EXPECT_EQ(order.size(), 500U);
}

TEST(WorkQueue, ContinuesAfterAJobThatThrows) {
    const CapturedLog log;
    ThreadPool pool;
    const Ref<WorkQueue> queue = pool.CreateWorkQueue("work-queue-cpu");
    std::promise<void> second;
    queue->Submit([] { throw std::runtime_error("the disk is full"); });
    queue->Submit([&] { second.set_value(); });
    second.get_future().wait();
    EXPECT_TRUE(log.Contains("3 sentrel: A job of work-queue-cpu failed: the disk is full"));
}

TEST(DeferredQueue, RunsTheFirstQueueThatItsThreadWakesOnThatThread) {
    ThreadPool pool;
    const Ref<WorkQueue> first = pool.CreateWorkQueue("first");
    const Ref<WorkQueue> second = pool.CreateWorkQueue("second");
    std::promise<std::thread::id> secondRan;
    std::thread::id firstRan;
    DeferredQueue deferred;
    first->Submit([&] { firstRan = std::this_thread::get_id(); });
    second->Submit([&] { secondRan.set_value(std::this_thread::get_id()); });
    EXPECT_EQ(firstRan, std::thread::id());
    deferred.RunDeferred();
    EXPECT_EQ(firstRan, std::this_thread::get_id());
    EXPECT_NE(secondRan.get_future().get(), std::this_thread::get_id());
}

}  // namespace
