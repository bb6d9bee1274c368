// SPDX-License-Identifier: MIT
#include "reverse/frame_stock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "reverse/frame_pool.h"

namespace codec {
namespace {

constexpr int32_t kFrameBytes = 100000;

std::unique_ptr<FrameBuffer> Sound(FrameStock* stock, uint32_t size, uint8_t value) {
  std::unique_ptr<FrameBuffer> frame = stock->Get();
  frame->type = 2;
  frame->size = size;
  frame->pts = value;
  std::memset(frame->Data(), value, size);
  return frame;
}

TEST(FrameStock, KeepsMoreThanThePoolDoes) {
  FrameStock stock(kFrameBytes);
  std::vector<std::unique_ptr<FrameBuffer>> taken;
  for (int i = 0; i < 30; ++i) {
    taken.push_back(stock.Get());
    EXPECT_GE(taken.back()->Length(), kFrameBytes);
    taken.back()->pts = 1000 + i;
  }
  for (auto& buffer : taken) stock.Put(std::move(buffer));
  for (int i = 29; i >= 0; --i) EXPECT_EQ(stock.Get()->pts, 1000 + i) << "none of them is fresh";
}

TEST(FrameStock, MovesSoundIntoASmallBuffer) {
  FrameStock stock(kFrameBytes);
  std::unique_ptr<FrameBuffer> large = Sound(&stock, 8192, 7);
  const FrameBuffer* const room = large.get();
  std::unique_ptr<FrameBuffer> small = stock.Compact(std::move(large));
  EXPECT_LT(small->Length(), kFrameBytes);
  EXPECT_EQ(small->type, 2U);
  EXPECT_EQ(small->size, 8192U);
  EXPECT_EQ(small->pts, 7);
  EXPECT_EQ(std::vector<uint8_t>(small->Data(), small->Data() + 8192),
            std::vector<uint8_t>(8192, 7));
  EXPECT_EQ(stock.Get().get(), room) << "the large one serves the next frame";

  const FrameBuffer* const first = small.get();
  stock.Put(std::move(small));
  small = stock.Compact(Sound(&stock, 20000, 9));
  EXPECT_EQ(small.get(), first) << "grown where it is too small";
  EXPECT_GE(small->Length(), 20000);
  EXPECT_EQ(small->Data()[19999], 9);
}

TEST(FrameStock, LeavesALargeFrameOfSoundWhereItIs) {
  FrameStock stock(kFrameBytes);
  std::unique_ptr<FrameBuffer> large = Sound(&stock, kFrameBytes - 1, 3);
  const FrameBuffer* const room = large.get();
  EXPECT_EQ(stock.Compact(std::move(large)).get(), room);
}

TEST(FrameStock, MovesAFrameWithoutBytes) {
  FrameStock stock(kFrameBytes);
  EXPECT_EQ(stock.Compact(Sound(&stock, 0, 5))->pts, 5);
}

TEST(FrameStock, GivesItsBuffersBackToThePool) {
  constexpr double kMark = 4711;
  {
    FrameStock stock(kFrameBytes);
    std::unique_ptr<FrameBuffer> buffer = stock.Get();
    buffer->pts = kMark;
    stock.Put(std::move(buffer));
  }
  bool found = false;
  for (int i = 0; i < 12; ++i) found = found || FramePool::Instance().Get(1)->pts == kMark;
  EXPECT_TRUE(found);
}

TEST(FrameStock, WaitsForABufferWhereEnoughAreOut) {
  constexpr int kMostOut = 3;
  FrameStock stock(kFrameBytes);
  stock.Limit(kMostOut);
  std::mutex mutex;
  std::vector<std::unique_ptr<FrameBuffer>> out;
  size_t most = 0;
  std::atomic<bool> done{false};
  std::thread taker([&] {
    for (int i = 0; i < 1000; ++i) {
      std::unique_ptr<FrameBuffer> buffer = stock.Get();
      // Sound leaves its large buffer to the next frame.
      stock.Put(stock.Compact(Sound(&stock, 64, 1)));
      const std::lock_guard<std::mutex> lock(mutex);
      out.push_back(std::move(buffer));
      most = std::max(most, out.size());
    }
    done = true;
  });
  while (!done) {
    std::unique_ptr<FrameBuffer> buffer;
    {
      const std::lock_guard<std::mutex> lock(mutex);
      if (out.empty()) continue;
      buffer = std::move(out.back());
      out.pop_back();
    }
    stock.Put(std::move(buffer));
  }
  taker.join();
  EXPECT_LE(most, size_t{kMostOut});
}

TEST(FrameStock, GoesOnWhereTheLimitIsLifted) {
  FrameStock stock(kFrameBytes);
  stock.Limit(1);
  std::unique_ptr<FrameBuffer> first = stock.Get();
  std::unique_ptr<FrameBuffer> second;
  std::atomic<bool> isServed{false};
  std::thread taker([&] {
    second = stock.Get();
    isServed = true;
  });
  // A taker that does not wait gets this long to show.
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(isServed);
  stock.LiftLimit();
  taker.join();
  EXPECT_NE(second, nullptr);
}

TEST(FrameStock, ServesSeveralThreads) {
  FrameStock stock(kFrameBytes);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&stock] {
      for (int i = 0; i < 1000; ++i) stock.Put(stock.Compact(Sound(&stock, 64, 1)));
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_NE(stock.Get(), nullptr);
}

}  // namespace
}  // namespace codec
