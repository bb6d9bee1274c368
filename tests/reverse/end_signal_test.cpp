// SPDX-License-Identifier: MIT
#include "reverse/end_signal.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

namespace codec {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;

TEST(EndSignal, HasNothingToWaitForBeforeAnyWork) {
  EndSignal signal;
  EXPECT_TRUE(signal.Wait(hours(1)));
}

TEST(EndSignal, GivesUpWhenTheTimeHasPassed) {
  EndSignal signal;
  signal.Begin();
  for (const int time : {-1, 0, 1}) EXPECT_FALSE(signal.Wait(milliseconds(time))) << time;
}

TEST(EndSignal, RemembersAnEndThatCameBeforeTheWait) {
  EndSignal signal;
  signal.Begin();
  signal.End();
  EXPECT_TRUE(signal.Wait(hours(1)));
  EXPECT_TRUE(signal.Wait(milliseconds(0))) << "each time";
}

TEST(EndSignal, MayBeginAgain) {
  EndSignal signal;
  signal.Begin();
  signal.End();
  signal.Begin();
  EXPECT_FALSE(signal.Wait(milliseconds(1)));
}

// An end that falls between a waiting thread's look and its sleep must not be lost. Many short
// lives meet that moment; the object goes at once, as a job does.
TEST(EndSignal, LosesNoEndAndMayBeDestroyedAfterIt) {
  for (int i = 0; i < 2000; ++i) {
    auto signal = std::make_unique<EndSignal>();
    signal->Begin();
    int written = 0;
    std::thread worker([&] {
      written = i;
      signal->End();
    });
    ASSERT_TRUE(signal->Wait(hours(1)));
    EXPECT_EQ(written, i) << "the work comes before its end";
    signal.reset();
    worker.join();
  }
}

TEST(EndSignal, WakesEveryWaitingThread) {
  EndSignal signal;
  signal.Begin();
  std::atomic<int> woken{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] { woken += signal.Wait(hours(1)) ? 1 : 0; });
  }
  signal.End();
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(woken, 4);
}

}  // namespace
}  // namespace codec
