// SPDX-License-Identifier: MIT
#include "reverse/stamp_rounding.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace codec {
namespace {

std::vector<int64_t> Starts(std::vector<SampleBlock> blocks, int rate) {
  UndoRounding(&blocks, rate);
  std::vector<int64_t> starts;
  for (const SampleBlock& block : blocks) starts.push_back(block.start);
  return starts;
}

// Where a container puts the sample: at the nearest millisecond.
int64_t Rounded(int64_t place, int rate) {
  const double milliseconds = std::round(static_cast<double>(place) * 1000 / rate);
  return static_cast<int64_t>(std::round(milliseconds * rate / 1000));
}

TEST(UndoRounding, FindsThePlacesThatWereRounded) {
  for (const int rate : {8000, 44100, 48000, 96000}) {
    for (const int samples : {576, 960, 1024, 1152}) {
      std::vector<SampleBlock> blocks;
      std::vector<int64_t> places;
      for (int64_t place = 0; place < rate; place += samples) {
        places.push_back(place);
        blocks.push_back({Rounded(place, rate), samples});
      }
      const std::vector<int64_t> starts = Starts(blocks, rate);
      for (size_t i = 0; i < places.size(); ++i) {
        EXPECT_NEAR(static_cast<double>(starts[i]), static_cast<double>(places[i]), 1.0)
            << rate << " " << samples << " " << i;
        EXPECT_EQ(starts[i] - starts[0], places[i] - places[0]);
      }
    }
  }
}

// The mean of a few stamps is a sample or more off.
TEST(UndoRounding, KeepsAFirstStampThatIsExact) {
  for (const int rate : {8000, 11025, 44100, 48000, 96000}) {
    for (const int samples : {576, 960, 1024, 1152, 4096}) {
      for (int count = 1; count < 60; ++count) {
        std::vector<SampleBlock> blocks;
        for (int i = 0; i < count; ++i) {
          blocks.push_back({Rounded(int64_t{i} * samples, rate), samples});
        }
        EXPECT_EQ(Starts(blocks, rate).back(), int64_t{count - 1} * samples)
            << rate << " " << samples << " " << count;
      }
    }
  }
}

// The first stamp is as wrong as any other. All of them together tell more.
TEST(UndoRounding, DoesNotRelyOnTheFirstStamp) {
  constexpr int kRate = 44100;
  for (const int samples : {576, 960, 1024, 1152}) {
    std::vector<SampleBlock> blocks;
    constexpr int64_t kFirst = 20;  // 0.45 milliseconds
    for (int64_t place = kFirst; place < kRate; place += samples) {
      blocks.push_back({Rounded(place, kRate), samples});
    }
    ASSERT_EQ(blocks[0].start, 0);
    EXPECT_NEAR(static_cast<double>(Starts(blocks, kRate)[0]), double{kFirst}, 8.0) << samples;
  }
}

TEST(UndoRounding, LeavesExactStampsAlone) {
  const std::vector<SampleBlock> blocks = {{100, 1024}, {1124, 1024}, {2148, 17}, {2165, 1}};
  EXPECT_EQ(Starts(blocks, 48000), (std::vector<int64_t>{100, 1124, 2148, 2165}));
}

TEST(UndoRounding, LeavesHolesAndOverlapsAlone) {
  const std::vector<SampleBlock> blocks = {{0, 1000}, {1100, 1000}, {2000, 1000}, {90000, 10}};
  EXPECT_EQ(Starts(blocks, 48000), (std::vector<int64_t>{0, 1100, 2000, 90000}));
}

TEST(UndoRounding, TakesNothing) { EXPECT_TRUE(Starts({}, 48000).empty()); }

}  // namespace
}  // namespace codec
