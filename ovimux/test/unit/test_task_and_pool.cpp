#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>

#include "ovimux/ovimux.hpp"
#include "ovimux/threadpool/ovimux_thread_pool.hpp"
#include "support/eventually.hpp"
#include "support/log_capture.hpp"

namespace norvik::ovimux {
namespace {

using test::eventually;
using test::Gate;
using test::LogCapture;

TEST(Task, ASecondWorkerReturnsAtOnce) {
  const LogCapture log;
  Gate gate;
  std::atomic<int> runs{0};
  Task task([&] {
    ++runs;
    gate.wait();
  });
  std::thread first([&task] { task.run(); });
  ASSERT_TRUE(eventually([&] { return runs == 1; }));
  task.run();
  EXPECT_EQ(Task::kRunning, task.state());
  EXPECT_TRUE(log.has(kDebug, "Task already running..."));
  gate.open();
  first.join();
  EXPECT_EQ(1, runs);
  EXPECT_EQ(Task::kIdle, task.state());
}

// Work that arrives after the function found its queue empty, while the state is still running. The naive kick, which
// only looks at the state, leaves it lying; the test shows both, so it cannot pass by luck.
TEST(Task, ServesARequestBetweenFoundEmptyAndIdle) {
  for (const bool naive : {false, true}) {
    SCOPED_TRACE(naive ? "naive" : "request_run");
    int queued = 1;
    bool arrived = false;
    Task* self = nullptr;
    const auto kick = [&] { return naive ? !self->is_running() : self->request_run(); };
    Task task([&] {
      queued = 0;
      if (!arrived) {
        arrived = true;
        queued = 1;
        EXPECT_FALSE(kick());  // Nobody has to push a running task.
      }
    });
    self = &task;
    ASSERT_TRUE(kick());
    task.run();
    EXPECT_EQ(naive ? 1 : 0, queued);
  }
}

// The producer hands over the next item the moment the last one is consumed, which is when the drain loop goes idle.
TEST(Task, StrandsNothingOnTwoWorkers) {
  OvimuxInitInternal();
  OvimuxThreadPool pool(2, 16, OverflowPolicy::kDiscard);
  std::atomic<int> produced{0};
  std::atomic<int> consumed{0};
  const auto task = std::make_shared<Task>([&] {
    while (consumed < produced) {
      ++consumed;
    }
    std::this_thread::yield();
  });
  for (int i = 1; i <= 10000; ++i) {
    ++produced;
    if (task->request_run()) {
      ASSERT_TRUE(pool.push_task(task));
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (consumed != i) {
      ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "item " << i << " is stranded";
      std::this_thread::yield();
    }
  }
}

TEST(Task, CanBeRequestedAgainAfterAnExceptionWithARequestPending) {
  Task* self = nullptr;
  bool fails = true;
  Task task([&] {
    if (fails) {
      self->request_run();
      throw std::runtime_error("boom");
    }
  });
  self = &task;
  EXPECT_TRUE(task.request_run());
  EXPECT_THROW(task.run(), std::runtime_error);
  fails = false;
  EXPECT_EQ(Task::kIdle, task.state());
  EXPECT_TRUE(task.request_run());
}

// One worker that is busy, and two tasks in a pool of two.
class FullPool : public ::testing::Test {
 protected:
  FullPool() { OvimuxInitInternal(); }

  void fill(OverflowPolicy policy) {
    pool_.set_policy(policy);
    ASSERT_TRUE(pool_.push_task(std::make_shared<Task>([this] {
      busy_ = true;
      gate_.wait();
    })));
    ASSERT_TRUE(eventually([this] { return busy_.load(); }));
    for (auto& task : queued_) {
      ASSERT_TRUE(task->request_run());
      ASSERT_TRUE(pool_.push_task(task));
    }
  }

  std::atomic<bool> busy_{false};
  std::atomic<int> ran_{0};
  Gate gate_;
  std::shared_ptr<Task> queued_[2] = {std::make_shared<Task>([this] { ran_ += 1; }),
                                      std::make_shared<Task>([this] { ran_ += 10; })};
  OvimuxThreadPool pool_{1, 2, OverflowPolicy::kDiscard};
};

struct PolicyCase {
  int32_t policy;
  const char* text;
  bool runs_on_caller;
  int ran_afterwards;  // 1 for the oldest queued task, 10 for the other, 100 for the new one.
};

class OverflowPolicies : public FullPool, public ::testing::WithParamInterface<PolicyCase> {};

TEST_P(OverflowPolicies, RefuseTheNewTask) {
  const auto& c = GetParam();
  fill(static_cast<OverflowPolicy>(c.policy));
  std::thread::id ran_on;
  const auto task = std::make_shared<Task>([&] {
    ran_on = std::this_thread::get_id();
    ran_ += 100;
  });
  ASSERT_TRUE(task->request_run());
  const LogCapture log;
  EXPECT_FALSE(pool_.push_task(task));
  std::vector<std::string> expected = {"All queues full................"};
  if (c.text != nullptr) {
    expected.emplace_back(c.text);
  }
  EXPECT_EQ(expected, log.texts(kError));
  EXPECT_EQ(c.runs_on_caller, ran_on == std::this_thread::get_id());
  EXPECT_TRUE(task->request_run()) << "a refused task can be kicked again";
  const bool oldest_dropped = c.policy == 3;
  EXPECT_EQ(oldest_dropped, queued_[0]->request_run()) << "a dropped task can be kicked again, a queued one need not";
  gate_.open();
  EXPECT_TRUE(eventually([&] { return ran_ == c.ran_afterwards; })) << ran_;
}

INSTANTIATE_TEST_SUITE_P(All, OverflowPolicies,
                         ::testing::Values(PolicyCase{0, "All queues full: Abort Policy", false, 11},
                                           PolicyCase{1, "All queues full: CallerRuns Policy", true, 111},
                                           PolicyCase{2, "All queues full: Discard Policy", false, 11},
                                           PolicyCase{3, "All queues full: DiscardOldest Policy", false, 10},
                                           PolicyCase{9, nullptr, false, 11}));

TEST_F(FullPool, SurvivesExceptionsOnWorkerAndCaller) {
  const auto throwing = std::make_shared<Task>([] { throw std::runtime_error("boom"); });
  const auto odd = std::make_shared<Task>([] { throw 1; });
  const LogCapture log;
  pool_.push_task(throwing);
  pool_.push_task(odd);
  EXPECT_TRUE(log.awaits(kError, "unknown exception in callback"));
  EXPECT_TRUE(log.has(kError, "exception in callback: boom"));
  fill(OverflowPolicy::kCallerRuns);
  EXPECT_FALSE(pool_.push_task(throwing));
  EXPECT_EQ(2, log.count(kError, "exception in callback: boom"));
  gate_.open();
  EXPECT_TRUE(eventually([this] { return ran_ == 11; }));
}

}  // namespace
}  // namespace norvik::ovimux
