// SPDX-License-Identifier: MIT
#include "codec/writer/buffer_side.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "tests/faults/faults.h"
#include "tests/faults/waiting.h"

namespace codec {
namespace {

using test_support::Fault;
using test_support::FaultCall;
using test_support::Waits;

constexpr BufferSide::Rules kTwoAtOnce{kVideoFrame, 2, 2, false};

std::unique_ptr<MediaBuffer> Owned(MediaBuffer* buffer) {
  return std::unique_ptr<MediaBuffer>(buffer);
}

TEST(BufferSide, MakesABatchAtATime) {
  BufferSide side(kTwoAtOnce, nullptr);
  EXPECT_EQ(side.Take(0), nullptr) << "does not grow";
  side.Refill(8);
  const auto first = Owned(side.Take(0));
  const auto second = Owned(side.Take(0));
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(side.Take(0), nullptr);

  BufferSide growing({kVideoFrame, 2, 2, true}, nullptr);
  growing.SetBufferSize(8);
  const auto grown = Owned(growing.Take(0));
  ASSERT_NE(grown, nullptr);
  EXPECT_EQ(grown->Capacity(), 8);
  EXPECT_FALSE(growing.IsEmpty()) << "one of two is left";
}

TEST(BufferSide, KnowsWhatIsLent) {
  BufferSide side(kTwoAtOnce, nullptr);
  side.Refill(8);
  EXPECT_FALSE(side.HasLent());
  MediaBuffer* const first = side.Take(0);
  MediaBuffer* const second = side.Take(0);
  EXPECT_TRUE(side.HasLent());
  side.Give(Owned(first));
  EXPECT_TRUE(side.HasLent());
  side.Give(Owned(second));
  EXPECT_FALSE(side.HasLent());
  // One that was never taken does not hide a later one.
  side.Give(std::make_unique<MediaBuffer>(1));
  const auto third = Owned(side.Take(0));
  EXPECT_TRUE(side.HasLent());
}

TEST(BufferSide, WaitsForNobody) {
  BufferSide side(kTwoAtOnce, nullptr);
  EXPECT_FALSE(side.WaitWhileLent()) << "there are no buffers";
  side.Refill(8);
  EXPECT_TRUE(side.WaitWhileLent());
  side.WaitOnce();
}

// The only buffer is lent.
class BufferSideWait : public testing::Test {
 protected:
  void SetUp() override {
    side.Refill(8);
    lent = side.Take(0);
  }
  void TearDown() override { delete lent; }

  // Waits on another thread.
  std::thread Waiting() {
    return std::thread([this] {
      if (side.WaitWhileLent()) ++found;
      ++over;
    });
  }
  // Returns once the waits were called so often, or a thread no longer waits.
  void Await(int64_t count) {
    waits.Await(count, [this] { return over > 0; });
  }
  void GiveBack() {
    side.Give(Owned(lent));
    lent = nullptr;
  }

  BufferSide side{{kVideoFrame, 1, 1, false}, nullptr};
  MediaBuffer* lent = nullptr;
  const Waits waits;
  std::atomic<int> found{0};
  std::atomic<int> over{0};
};

TEST_F(BufferSideWait, EndsWithTheBufferAndNotBefore) {
  std::thread waiter = Waiting();
  Await(1);
  EXPECT_EQ(over, 0);
  GiveBack();
  waiter.join();
  EXPECT_EQ(found, 1);
}

TEST_F(BufferSideWait, GoesOnAfterWakeUpsWithoutCause) {
  constexpr int kWakeUps = 5;
  std::thread waiter;
  {
    const Fault fault(FaultCall::pthread_cond_wait);
    waiter = Waiting();
    Await(kWakeUps);
  }
  EXPECT_GE(waits.Count(), kWakeUps);
  GiveBack();
  waiter.join();
  EXPECT_EQ(found, 1);
}

TEST_F(BufferSideWait, EndsOnceWithoutCauseWhereOneWaitIsAskedFor) {
  const Fault fault(FaultCall::pthread_cond_wait);
  side.WaitOnce();
  EXPECT_EQ(waits.Count(), 1);
  EXPECT_TRUE(side.IsEmpty());
}

// The buffer wakes one of them; then it is gone, and no other can come.
TEST_F(BufferSideWait, EndsForAllOnceNothingIsLent) {
  std::thread first = Waiting();
  std::thread second = Waiting();
  Await(2);
  GiveBack();
  side.Reset();
  first.join();
  second.join();
  EXPECT_EQ(over, 2);
  EXPECT_FALSE(side.HasLent());
}

}  // namespace
}  // namespace codec
