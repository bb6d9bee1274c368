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

TEST(PictureLosses, StayDoubtfulOnceTheyAre) {
  PictureLosses losses;
  EXPECT_FALSE(losses.Take(1, 2, kMilliseconds, 0).isDoubtful);
  losses.Doubt();
  LostPictures all;
  all.Add(losses.Take(0, 1, kMilliseconds, 0));
  EXPECT_TRUE(all.isDoubtful);
  EXPECT_EQ(all.Count(), 0);
}

// A decoder that distrusts the stamps of packets may give another picture with this stamp.
TEST(PictureLosses, KeepsPicturesThatWereLeftOut) {
  PictureLosses losses;
  losses.Lose(200, Loss::kLeftOut);
  losses.Give(200);
  EXPECT_EQ(losses.Take(0, 1, kMilliseconds, 0).undecoded, 1);
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

TEST(PictureLosses, LeavesThePictureAtTheEndOfAStretchToTheNext) {
  PictureLosses losses;
  losses.Lose(2000, Loss::kUndecoded);
  EXPECT_EQ(losses.Take(1, 2, kMilliseconds, 0).Count(), 0);
  losses.Lose(1000, Loss::kUndecoded);
  EXPECT_EQ(losses.Take(1, 2, kMilliseconds, 0).Count(), 1);
}

TEST(PictureLosses, CountsTimesFromZero) {
  PictureLosses losses;
  losses.Lose(10500, Loss::kUndecoded);
  EXPECT_EQ(losses.Take(1, 2, kMilliseconds, 10).Count(), 0);
  EXPECT_DOUBLE_EQ(losses.Take(0, 1, kMilliseconds, 10).first, 0.5);
}

// A recording that was cut in the middle of a group, and begins its next group openly. The decoder
// has two threads: the first picture comes after the packet that follows its own.
TEST(PictureLosses, ExpectsNothingOfPicturesBeforeTheFirstThatComes) {
  PictureLosses losses;
  losses.Restart();
  for (const int64_t stamp : {0, 40, 160, 280}) losses.Expect(stamp);
  losses.Give(160);
  for (const int64_t stamp : {80, 120, 200, 240}) losses.Expect(stamp);
  losses.Give(120);  // this decoder has made something of it
  EXPECT_EQ(losses.Take(0, 1, kMilliseconds, 0).undecoded, 3);
}

TEST(PictureLosses, KeepsErrorsOfPicturesAfterTheFirst) {
  PictureLosses losses;
  losses.Expect(0);
  losses.Expect(40);
  losses.Lose(40, Loss::kUndecoded);
  losses.Expect(80);
  losses.Give(0);
  EXPECT_EQ(losses.Take(0, 1, kMilliseconds, 0).undecoded, 1);
}

TEST(PictureLosses, ExpectsTheSameAfterEachRestart) {
  PictureLosses losses;
  losses.Expect(0);
  losses.Give(0);
  losses.Restart();
  losses.Expect(40);
  losses.Expect(80);
  losses.Give(80);
  losses.Expect(60);
  EXPECT_EQ(losses.Take(0, 1, kMilliseconds, 0).undecoded, 2);
}

// The pictures before a restart may never come again.
TEST(PictureLosses, CountsPicturesThatWereOnlyExpectedBeforeARestart) {
  PictureLosses losses;
  losses.Expect(400);
  losses.Restart();
  losses.Expect(100);
  losses.Give(100);
  EXPECT_EQ(losses.Take(0, 1, kMilliseconds, 0).undecoded, 1);
}

TEST(PictureLosses, CountsAllIfNoPictureComes) {
  PictureLosses losses;
  losses.Expect(0);
  losses.Expect(40);
  losses.Expect(kNone);
  EXPECT_EQ(losses.Take(0, 1, kMilliseconds, 0).undecoded, 2);
}

}  // namespace
}  // namespace codec
