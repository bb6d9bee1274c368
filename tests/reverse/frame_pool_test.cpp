// SPDX-License-Identifier: MIT
#include "reverse/frame_pool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

namespace codec {
namespace {

TEST(FrameBuffer, SaysTenBeforeItsFirstSizing) { EXPECT_EQ(FrameBuffer().Length(), 10); }

TEST(FrameBuffer, KeepsItsBytesAndZeroesNewOnesWhenItGrows) {
  FrameBuffer buffer;
  buffer.Resize(4);
  std::fill_n(buffer.Data(), 4, uint8_t{9});
  buffer.Resize(8);
  EXPECT_EQ(std::vector<uint8_t>(buffer.Data(), buffer.Data() + 8),
            (std::vector<uint8_t>{9, 9, 9, 9, 0, 0, 0, 0}));
}

TEST(FramePool, MakesAZeroBufferWhenItHasNone) {
  FramePool pool;
  const auto buffer = pool.Get(1000);
  EXPECT_EQ(buffer->Length(), 1000);
  EXPECT_EQ(buffer->type, 0U);
  EXPECT_EQ(buffer->size, 0U);
  EXPECT_EQ(buffer->pts, 0.0);
  EXPECT_TRUE(std::all_of(buffer->Data(), buffer->Data() + 1000, [](uint8_t b) { return b == 0; }));
}

TEST(FramePool, HandsOutTheOldestIdleBufferWithItsContents) {
  FramePool pool;
  auto first = pool.Get(16);
  auto second = pool.Get(16);
  first->pts = 1;
  first->type = 2;
  first->size = 3;
  first->Data()[5] = 77;
  second->pts = 2;
  EXPECT_EQ(pool.Put(std::move(first)), 0);
  EXPECT_EQ(pool.Put(std::move(second)), 0);
  const auto again = pool.Get(8);
  EXPECT_EQ(again->pts, 1.0);
  EXPECT_EQ(again->type, 2U);
  EXPECT_EQ(again->size, 3U);
  EXPECT_EQ(again->Data()[5], 77);
  EXPECT_EQ(again->Length(), 16) << "never shrunk";
}

TEST(FramePool, GrowsABufferThatIsTooSmall) {
  FramePool pool;
  pool.Put(pool.Get(16));
  EXPECT_EQ(pool.Get(32)->Length(), 32);
}

TEST(FramePool, KeepsAtMostTwelveIdleBuffers) {
  FramePool pool;
  std::vector<std::unique_ptr<FrameBuffer>> taken;
  for (int i = 0; i < 15; ++i) {
    taken.push_back(pool.Get(16));
    taken.back()->pts = i + 1;
  }
  for (auto& buffer : taken) pool.Put(std::move(buffer));
  for (int i = 0; i < 12; ++i) EXPECT_EQ(pool.Get(16)->pts, i + 1);
  EXPECT_EQ(pool.Get(16)->pts, 0) << "a fresh one";
}

TEST(FramePool, LeavesNoLockBehindWhenAnAllocationFails) {
  FramePool pool;
  EXPECT_THROW(pool.Get(-8000), std::bad_alloc);
  EXPECT_NE(pool.Get(16), nullptr);
}

TEST(FramePool, ServesSeveralThreads) {
  FramePool pool;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&pool] {
      for (int i = 0; i < 1000; ++i) {
        auto buffer = pool.Get(64);
        buffer->Data()[0]++;
        pool.Put(std::move(buffer));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_NE(pool.Get(64), nullptr);
}

}  // namespace
}  // namespace codec
