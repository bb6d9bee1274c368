// SPDX-License-Identifier: MIT
#include "codec/writer/frame_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <memory>
#include <random>
#include <thread>

namespace codec {
namespace {

PooledBuffer Frame(int type, int64_t pts) {
  PooledBuffer buffer(new MediaBuffer(type));
  buffer->SetPts(pts);
  return buffer;
}

TEST(FrameQueue, ReturnsFramesInOrderThenNull) {
  FrameQueue queue;
  EXPECT_TRUE(queue.Empty());
  queue.Append(Frame(1, 5));
  queue.Append(Frame(1, 4));
  EXPECT_FALSE(queue.Empty());
  EXPECT_EQ(queue.Pop()->pts, 5);
  EXPECT_EQ(queue.Pop()->pts, 4);
  EXPECT_EQ(queue.Pop(), nullptr);
}

TEST(FrameQueue, GivesWhatIsLeftBackToThePool) {
  MediaBufferPool* const pool = MediaBufferPool::Instance();
  pool->Reset();
  pool->RefillVideo(10);
  {
    FrameQueue queue;
    queue.Append(PooledBuffer(pool->TakeVideo()));
    queue.Append(PooledBuffer(pool->TakeVideo()));
  }
  int idle = 0;
  while (MediaBuffer* buffer = pool->TakeVideo()) {
    delete buffer;
    ++idle;
  }
  EXPECT_EQ(idle, 5);
}

TEST(FrameQueue, SignalsEachAppendWhenAskedTo) {
  FrameQueue queue;
  WakeSignal wake;
  queue.Append(Frame(1, 0));
  EXPECT_EQ(wake.Ticket(), 0U);
  queue.SetWake(&wake);
  queue.Append(Frame(1, 1));
  queue.Append(Frame(1, 2));
  EXPECT_EQ(wake.Ticket(), 2U);
}

TEST(FrameQueue, PopsTheEarlierOfTwoQueuesAndVideoAtATie) {
  FrameQueue video;
  FrameQueue audio;
  video.Append(Frame(1, 10));
  video.Append(Frame(1, 20));
  audio.Append(Frame(2, 10));
  audio.Append(Frame(2, 15));
  audio.Append(Frame(2, std::numeric_limits<int64_t>::max()));
  std::vector<std::pair<int, int64_t>> order;
  while (const PooledBuffer buffer = FrameQueue::PopEarlier(video, audio)) {
    order.emplace_back(buffer->type, buffer->pts);
  }
  EXPECT_EQ(order,
            (std::vector<std::pair<int, int64_t>>{
                {1, 10}, {2, 10}, {2, 15}, {1, 20}, {2, std::numeric_limits<int64_t>::max()}}));
}

TEST(WakeSignal, LosesNoSignalGivenBetweenLookAndWait) {
  WakeSignal wake;
  const uint64_t ticket = wake.Ticket();
  wake.Signal();
  // A lost signal would make this wait for an hour.
  wake.WaitBeyond(ticket, std::chrono::hours(1));
  EXPECT_EQ(wake.Ticket(), 1U);
}

TEST(WakeSignal, EndsAWaitInAnotherThread) {
  WakeSignal wake;
  const uint64_t ticket = wake.Ticket();
  std::thread waiter([&] { wake.WaitBeyond(ticket, std::chrono::hours(1)); });
  // So that the wait has begun: a signal before the wait needs to wake nobody.
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  wake.Signal();
  waiter.join();
}

TEST(WakeSignal, WaitsNoLongerThanTheLimit) {
  WakeSignal wake;
  wake.WaitBeyond(wake.Ticket(), std::chrono::milliseconds(1));
  EXPECT_EQ(wake.Ticket(), 0U);
}

}  // namespace
}  // namespace codec
