// SPDX-License-Identifier: MIT
#include "codec/decoder/sound_extent.h"

#include <gtest/gtest.h>

#include "tests/support/clips.h"

namespace codec {
namespace {

using test_support::Clip;
using test_support::ClipKind;

constexpr double kFrame = 1024.0 / 48000;

// Six seconds of pictures and sound.
class SoundOfAClip : public testing::Test {
 protected:
  SoundOfAClip() { mRead = mExtent.Read(Clip(ClipKind::kH264), 1, nullptr); }

  SoundExtent mExtent;
  int mRead = -1;
};

TEST_F(SoundOfAClip, IsCutToTheRange) {
  ASSERT_EQ(mRead, 0);
  const auto middle = mExtent.Within(2, 3.5);
  ASSERT_TRUE(middle.has_value());
  EXPECT_EQ(middle->time, 2);
  EXPECT_EQ(middle->seconds, 1.5);
}

TEST_F(SoundOfAClip, IsAsLongAsItsPackets) {
  const auto whole = mExtent.Within(-10, 100);
  ASSERT_TRUE(whole.has_value());
  EXPECT_NEAR(whole->time, 0, 1.01 * kFrame);
  EXPECT_NEAR(whole->time + whole->seconds, 6, 1.01 * kFrame);
}

TEST_F(SoundOfAClip, IsNotAfterTheClip) {
  EXPECT_FALSE(mExtent.Within(7, 100).has_value());
  EXPECT_FALSE(mExtent.Within(-5, -1).has_value());
}

TEST(SoundExtent, IsNothingWithoutAStream) {
  SoundExtent extent;
  EXPECT_FALSE(extent.Within(-10, 100).has_value());
  ASSERT_EQ(extent.Read(Clip(ClipKind::kH264NoAudio), 1, nullptr), 0);
  EXPECT_FALSE(extent.Within(-10, 100).has_value());
}

TEST(SoundExtent, FailsForAFileThatIsNotThere) {
  EXPECT_EQ(SoundExtent().Read("nowhere.mp4", 1, nullptr), -1);
}

}  // namespace
}  // namespace codec
