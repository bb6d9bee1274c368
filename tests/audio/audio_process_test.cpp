// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <deque>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include "audio/audio_process_impl.h"

namespace vux {
namespace {

std::vector<uint8_t> Bytes(int count, int first = 0) {
  std::vector<uint8_t> bytes(static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) bytes[static_cast<size_t>(i)] = static_cast<uint8_t>(first + i);
  return bytes;
}

int PushAll(AudioProcess& process, const std::vector<uint8_t>& bytes) {
  return process.Push(bytes.data(), static_cast<int>(bytes.size()));
}

TEST(AudioProcess, RefusesEverythingButSettersBeforeInit) {
  AudioProcessImpl process;
  uint8_t byte = 0;
  EXPECT_EQ(process.SetSampleRate(44100), 0);
  EXPECT_EQ(process.SetChannels(2), 0);
  EXPECT_EQ(process.Push(&byte, 1), -14);
  EXPECT_EQ(process.Pull(&byte, 1), -14);
  EXPECT_EQ(process.Flush(&byte, 1), -14);
  EXPECT_EQ(process.FrameCount(1), -14);
  EXPECT_EQ(process.SampleRate(), 44100);
  EXPECT_EQ(process.Channels(), 2);
}

TEST(AudioProcess, CountsPullsAndFlushesFrames) {
  AudioProcessImpl process;
  ASSERT_EQ(process.Init(), 0);
  EXPECT_EQ(PushAll(process, Bytes(3000)), 0);
  EXPECT_EQ(process.FrameCount(8192), 0);
  EXPECT_EQ(PushAll(process, Bytes(6000, 3000)), 0);
  EXPECT_EQ(process.FrameCount(8192), 1);
  std::vector<uint8_t> frame(8192);
  EXPECT_EQ(process.Pull(frame.data(), 8192), 0);
  EXPECT_EQ(frame, Bytes(8192));
  EXPECT_EQ(process.Flush(frame.data(), 8192), 808);
  EXPECT_EQ(std::vector<uint8_t>(frame.begin(), frame.begin() + 808), Bytes(808, 8192));
  EXPECT_EQ(process.Flush(frame.data(), 8192), 0);
}

TEST(AudioProcess, PullsNothingWhenTooFewBytesAreHeld) {
  AudioProcessImpl process;
  process.Init();
  PushAll(process, Bytes(10));
  std::vector<uint8_t> out(11, 0xEE);
  EXPECT_EQ(process.Pull(out.data(), 11), -15);
  EXPECT_EQ(out, std::vector<uint8_t>(11, 0xEE));
  EXPECT_EQ(process.Pull(out.data(), 10), 0);
}

TEST(AudioProcess, KeepsTheBytesThatDoNotFitAFlush) {
  AudioProcessImpl process;
  process.Init();
  PushAll(process, Bytes(10));
  std::vector<uint8_t> out(10, 0xEE);
  EXPECT_EQ(process.Flush(out.data(), 9), -1);
  EXPECT_EQ(out, std::vector<uint8_t>(10, 0xEE));
  EXPECT_EQ(process.Flush(out.data(), 10), 10);
  EXPECT_EQ(out, Bytes(10));
}

TEST(AudioProcess, InitOnceMakesOneFifoWithItsOwnSerial) {
  AudioProcessImpl first;
  AudioProcessImpl second;
  EXPECT_EQ(first.Serial(), 0);
  first.Init();
  PushAll(first, Bytes(5));
  const int serial = first.Serial();
  EXPECT_EQ(first.Init(), 0);
  EXPECT_EQ(first.Serial(), serial);
  EXPECT_EQ(first.FrameCount(1), 5);
  second.Init();
  EXPECT_EQ(second.Serial(), serial + 1);
}

TEST(AudioProcess, RefusesSizesThatMakeNoSense) {
  AudioProcessImpl process;
  process.Init();
  PushAll(process, Bytes(4));
  uint8_t byte = 0;
  EXPECT_EQ(process.Push(&byte, -1), -1);
  EXPECT_EQ(process.Push(nullptr, 1), -1);
  EXPECT_EQ(process.Push(&byte, std::numeric_limits<int>::max()), -1);
  EXPECT_EQ(process.Push(nullptr, 0), 0);
  EXPECT_EQ(process.Pull(&byte, -1), -15);
  EXPECT_EQ(process.FrameCount(0), 0);
  EXPECT_EQ(process.FrameCount(-3), 0);
  EXPECT_EQ(process.FrameCount(1), 4);
}

TEST(AudioProcess, KeepsTheOrderOfBytesThroughAnyMixOfSizes) {
  constexpr unsigned kSeed = 20417;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  std::deque<uint8_t> expected;
  AudioProcessImpl process;
  process.Init();
  for (int step = 0; step < 3000; ++step) {
    const int size = static_cast<int>(random() % 500);
    if (random() % 2 == 0) {
      std::vector<uint8_t> block(static_cast<size_t>(size));
      for (uint8_t& byte : block) byte = static_cast<uint8_t>(random());
      ASSERT_EQ(PushAll(process, block), 0);
      expected.insert(expected.end(), block.begin(), block.end());
      continue;
    }
    std::vector<uint8_t> out(static_cast<size_t>(size) + 1);
    const bool enough = expected.size() >= static_cast<size_t>(size);
    ASSERT_EQ(process.Pull(out.data(), size), enough ? 0 : -15);
    if (!enough) continue;
    const auto end = expected.begin() + size;
    ASSERT_TRUE(std::equal(expected.begin(), end, out.begin()));
    expected.erase(expected.begin(), end);
  }
  EXPECT_EQ(process.FrameCount(1), static_cast<int>(expected.size()));
}

}  // namespace
}  // namespace vux
