// SPDX-License-Identifier: MIT
#include "codec/decoder/sound_walk.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "tests/codec/decoder/linear_sound.h"
#include "tests/codec/decoder/sound_clips.h"

namespace codec {
namespace {

class SoundWalkTest : public testing::TestWithParam<SoundClip> {
 protected:
  void SetUp() override {
    mPath = PathOf(GetParam());
    mLinear = DecodeLinearly(mPath);
    ASSERT_FALSE(mLinear.blocks.empty());
    ASSERT_EQ(mWalk.Open(mPath, mLinear.stream), 0);
    ASSERT_TRUE(mWalk.FirstTime().has_value());
    mZero = mLinear.blocks.front().time;
    EXPECT_EQ(*mWalk.FirstTime(), mZero);
    EXPECT_EQ(mWalk.SampleRate(), mLinear.sampleRate);
    mWalk.SetZero(mZero);
  }

  double TimeOf(const LinearBlock& block) const { return block.time - mZero; }

  // Reads and compares.
  void Check(double from, double to) {
    SCOPED_TRACE(testing::Message() << from << " to " << to);
    ASSERT_EQ(mWalk.Read(from, to, &mStretch), 0);
    std::vector<LinearBlock> expected;
    for (const LinearBlock& block : mLinear.blocks) {
      if (TimeOf(block) < to && TimeOf(block) + block.length > from) expected.push_back(block);
    }
    ASSERT_EQ(mStretch.blocks.size(), expected.size());
    if (expected.empty()) return;
    int samples = 0;
    for (size_t i = 0; i < expected.size(); ++i) {
      const StretchBlock& block = mStretch.blocks[i];
      ASSERT_NEAR(block.time, TimeOf(expected[i]), 1e-9);
      ASSERT_EQ(block.samples, expected[i].samples) << "at " << block.time;
      ASSERT_EQ(block.offset, static_cast<size_t>(samples) * 2);
      EXPECT_EQ(block.begins, expected[i].offset == 0);
      EXPECT_EQ(block.ends, expected[i].offset == mLinear.blocks.back().offset);
      samples += block.samples;
    }
    ASSERT_EQ(mStretch.samples.size(), static_cast<size_t>(samples) * 2);
    const float* const linear = mLinear.samples.data() + expected.front().offset;
    if (GetParam().lossless) {
      EXPECT_EQ(std::memcmp(mStretch.samples.data(), linear, static_cast<size_t>(samples) * 8), 0);
    } else {
      constexpr int kWindow = 1024;
      EXPECT_LT(LargestDifference(mStretch.samples.data(), linear, samples, kWindow), -60);
    }
  }

  std::string mPath;
  LinearSound mLinear;
  SoundWalk mWalk;
  SoundStretch mStretch;
  double mZero = 0;
};

TEST_P(SoundWalkTest, GivesTheLinearDecodeSecondBySecond) {
  const int end = static_cast<int>(std::ceil(TimeOf(mLinear.blocks.back()))) + 2;
  for (int second = end; second >= -1; --second) Check(second, second + 1);
  EXPECT_EQ(mWalk.Opens(), 1);
}

TEST_P(SoundWalkTest, GivesTheLinearDecodeOfAnyRange) {
  const double end = TimeOf(mLinear.blocks.back());
  Check(1.3, 4.7);
  Check(4.017, 4.018);
  Check(0, end + 1);
  Check(-5, 0.0001);
  Check(end - 0.01, end + 10);
  Check(2.5, 2.5001);
  Check(3.6, 3.9);
  Check(0.7, 1.9);
}

INSTANTIATE_TEST_SUITE_P(Clips, SoundWalkTest, testing::ValuesIn(SoundClips()),
                         [](const auto& clip) { return TestNameOf(clip.param.name); });

}  // namespace
}  // namespace codec
