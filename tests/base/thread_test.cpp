// SPDX-License-Identifier: MIT
#include "base/thread.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>

#include "tests/support/log_capture.h"

namespace but {
namespace {

// Starts as the threads of the system do: once, however often it is asked.
class CountingThread : public Thread {
 public:
  void Start() override {
    if (running) return;
    running = true;
    Thread::Start();
  }
  void Run() override {
    ++runs;
    id = pthread_self();
    while (running) sched_yield();
  }

  std::atomic<bool> running = false;
  std::atomic<int> runs = 0;
  pthread_t id{};
};

class BriefThread : public Thread {
 public:
  void Run() override { ended = true; }
  std::atomic<bool> ended = false;
};

TEST(Thread, RunsItsBodyOnAnotherThread) {
  CountingThread thread;
  thread.Start();
  while (thread.runs == 0) sched_yield();
  thread.running = false;
  thread.Join();
  EXPECT_EQ(pthread_equal(thread.id, pthread_self()), 0);
}

TEST(Thread, StartedTwiceRunsOnce) {
  CountingThread thread;
  thread.Start();
  thread.Start();
  while (thread.runs == 0) sched_yield();
  thread.running = false;
  thread.Join();
  EXPECT_EQ(thread.runs, 1);
}

TEST(Thread, JoinReturnsWhenTheBodyHasAlreadyEnded) {
  BriefThread thread;
  thread.Start();
  while (!thread.ended) sched_yield();
  thread.Join();
  EXPECT_TRUE(thread.ended);
}

TEST(Thread, JoinWaitsForTheBody) {
  class SlowThread : public Thread {
   public:
    void Run() override {
      for (int i = 0; i < 1000; ++i) sched_yield();
      done = true;  // not atomic: the join alone orders it
    }
    bool done = false;
  };
  SlowThread thread;
  thread.Start();
  thread.Join();
  EXPECT_TRUE(thread.done);
}

TEST(Thread, JoinWithoutAThreadReturns) {
  BriefThread thread;
  thread.Join();
  EXPECT_FALSE(thread.ended);
}

TEST(Thread, RunsAgainAfterAJoin) {
  BriefThread thread;
  thread.Start();
  thread.Join();
  thread.ended = false;
  thread.Start();
  thread.Join();
  EXPECT_TRUE(thread.ended);
}

TEST(Thread, CallsTheMostDerivedBody) {
  class Derived : public BriefThread {
   public:
    void Run() override { derivedRan = true; }
    std::atomic<bool> derivedRan = false;
  };
  Derived thread;
  thread.Start();
  thread.Join();
  EXPECT_TRUE(thread.derivedRan);
  EXPECT_FALSE(thread.ended);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// A stack of this size does not fit into the address space that is
// left, so the host refuses. The sanitizers need that space themselves.
TEST(Thread, LogsARefusalOfTheHostAndHasNoThread) {
  pthread_attr_t before;
  pthread_getattr_default_np(&before);
  pthread_attr_t huge;
  pthread_getattr_default_np(&huge);
  ASSERT_EQ(pthread_attr_setstacksize(&huge, size_t{1} << 46), 0);
  ASSERT_EQ(pthread_setattr_default_np(&huge), 0);
  const test_support::LogCapture log;
  BriefThread thread;
  thread.Start();
  pthread_setattr_default_np(&before);
  thread.Join();
  EXPECT_FALSE(thread.ended);
  EXPECT_EQ(log.CountContaining(kLogError, "but::Thread", "thread creation failed: "), 1);
}
#endif

}  // namespace
}  // namespace but
