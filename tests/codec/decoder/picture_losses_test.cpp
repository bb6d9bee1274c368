// SPDX-License-Identifier: MIT
#include "codec/decoder/picture_losses.h"

#include <gtest/gtest.h>

#include <cmath>

namespace codec {
namespace {

constexpr int64_t kNone = AV_NOPTS_VALUE;
constexpr AVRational kMilliseconds = {1, 1000};
using Loss = PictureLosses::Loss;

TEST(PictureLosses, CountsEachPictureOnceByItsKind) {
  PictureLosses losses;
  losses.Lose(400, Loss::kUndecoded);
  losses.Lose(200, Loss::kUndecoded);
  losses.Lose(400, Loss::kUndecoded);
  losses.Lose(300, Loss::kDropped);
  losses.Lose(kNone, Loss::kUndecoded);
  const LostPictures lost = losses.Take(0, 1, kMilliseconds, 0);
  EXPECT_EQ(lost.undecoded, 2);
  EXPECT_EQ(lost.dropped, 1);
  EXPECT_DOUBLE_EQ(lost.first, 0.2);
}

TEST(PictureLosses, ForgetsPicturesThatComeAfterAll) {
  PictureLosses losses;
  losses.Lose(200, Loss::kUndecoded);
  losses.Give(200);
  losses.Give(300);
  const LostPictures lost = losses.Take(0, 1, kMilliseconds, 0);
  EXPECT_EQ(lost.Count(), 0);
  EXPECT_TRUE(std::isinf(lost.first));
}

// The stretches of a walk: the later one first, and packets of it are read again with the earlier.
TEST(PictureLosses, TellsEachStretchOnce) {
  PictureLosses losses;
  losses.Lose(900, Loss::kUndecoded);
  losses.Lose(1500, Loss::kUndecoded);
  losses.Lose(2500, Loss::kUndecoded);
  EXPECT_EQ(losses.Take(1, 2, kMilliseconds, 0).Count(), 1);
  losses.Lose(1500, Loss::kUndecoded);
  const LostPictures lost = losses.Take(0, 1, kMilliseconds, 0);
  EXPECT_EQ(lost.Count(), 1);
  EXPECT_DOUBLE_EQ(lost.first, 0.9);
  EXPECT_EQ(losses.Take(0, 1, kMilliseconds, 0).Count(), 0);
}

TEST(PictureLosses, CountsTimesFromZero) {
  PictureLosses losses;
  losses.Lose(10500, Loss::kUndecoded);
  EXPECT_EQ(losses.Take(1, 2, kMilliseconds, 10).Count(), 0);
  EXPECT_DOUBLE_EQ(losses.Take(0, 1, kMilliseconds, 10).first, 0.5);
}

// A recording that was cut in the middle of a group, and begins its next group openly.
TEST(PictureLosses, ExpectsNothingOfPacketsWithoutReferences) {
  PictureLosses losses;
  losses.Restart();
  losses.Expect(0, false);
  losses.Expect(40, false);
  EXPECT_TRUE(losses.AwaitsKey());
  losses.Expect(160, true);
  losses.Expect(80, false);
  losses.Expect(120, false);
  losses.Expect(280, false);
  losses.Expect(200, false);  // needs nothing from before the key packet
  losses.Give(120);           // but this decoder has made something of it
  EXPECT_EQ(losses.Take(0, 1, kMilliseconds, 0).undecoded, 3);
}

TEST(PictureLosses, ExpectsTheSameAfterEachRestart) {
  PictureLosses losses;
  losses.Expect(0, true);
  losses.Expect(40, false);
  EXPECT_FALSE(losses.AwaitsKey());
  losses.Restart();
  losses.Expect(40, false);
  losses.Expect(80, true);
  losses.Expect(60, false);
  EXPECT_EQ(losses.Take(0, 1, kMilliseconds, 0).undecoded, 2);
}

TEST(PictureLosses, TakesNoPictureForEarlierThanAKeyWithoutAStamp) {
  PictureLosses losses;
  losses.Expect(kNone, true);
  losses.Expect(-40, false);
  EXPECT_EQ(losses.Take(-1, 1, kMilliseconds, 0).Count(), 0);
}

}  // namespace
}  // namespace codec
