// SPDX-License-Identifier: MIT
#include "codec/decoder/held_packets.h"

#include <gtest/gtest.h>

namespace codec {
namespace {

// Packets are told apart by their pts, which is their number.
class HeldPacketsTest : public testing::Test {
 protected:
  // Holds packets that follow each other without a hole.
  void AddUpTo(HeldPackets* held, int last, double length) {
    for (; mNext <= last; ++mNext) {
      held->Blank()->pts = mNext;
      held->Add(mNext * length, length);
    }
  }

  int mNext = 0;
};

TEST_F(HeldPacketsTest, KeepsNoMoreThanTheDecoderNeeds) {
  HeldPackets held({1.0, 2});
  held.StartOver(10);
  AddUpTo(&held, 9, 0.25);
  EXPECT_TRUE(held.Suffices());
  AddUpTo(&held, 41, 0.25);
  EXPECT_TRUE(held.Suffices());
  // 41 lies beyond the target, 40 begins at it, 39 is one more, and four of 0.25 s are a second.
  ASSERT_EQ(held.Size(), 7U);
  EXPECT_EQ(held.FirstHeard(), 4U);
  EXPECT_EQ(held.At(0)->pts, 35);
  EXPECT_EQ(held.At(6)->pts, 41);
}

TEST_F(HeldPacketsTest, WantsSoManyPacketsHoweverLong) {
  HeldPackets held({1.0, 2});
  held.StartOver(6);
  AddUpTo(&held, 3, 2);
  EXPECT_EQ(held.Size(), 4U);
  EXPECT_FALSE(held.Suffices());
  AddUpTo(&held, 4, 2);
  EXPECT_TRUE(held.Suffices());
  AddUpTo(&held, 5, 2);
  EXPECT_EQ(held.Size(), 5U);
}

TEST_F(HeldPacketsTest, CountsSoundAndNotThePausesInIt) {
  HeldPackets held({1.0, 2});
  held.StartOver(100);
  AddUpTo(&held, 5, 0.25);
  held.Blank()->pts = 6;
  held.Add(100, 0.25);
  EXPECT_EQ(held.FirstHeard(), 4U);
  EXPECT_TRUE(held.Suffices());
  EXPECT_EQ(held.Size(), 7U);
}

TEST_F(HeldPacketsTest, HoldsAPacketBeforeTheTargetForADecoderWithoutNeed) {
  HeldPackets held({0, 0});
  held.StartOver(10);
  AddUpTo(&held, 2, 1);
  EXPECT_FALSE(held.Suffices());
  AddUpTo(&held, 20, 1);
  EXPECT_TRUE(held.Suffices());
  EXPECT_EQ(held.FirstHeard(), 1U);
  // The packet from 9 to 10 is the last one that is not heard, so that all of the later ones are.
  EXPECT_EQ(held.At(0)->pts, 9);
  EXPECT_EQ(held.Size(), 12U);
}

TEST_F(HeldPacketsTest, HearsWhatReachesOverTheTargetWhereStampsGoBack) {
  HeldPackets held({0.5, 2});
  held.StartOver(2.9);
  AddUpTo(&held, 11, 0.25);
  // Put together from two recordings: the second one begins at 2.
  for (int i = 0; i < 4; ++i) held.Add((held.Blank(), 2 + 0.25 * i), 0.25);
  ASSERT_TRUE(held.Suffices());
  EXPECT_EQ(held.At(held.FirstHeard())->pts, 11);
  EXPECT_EQ(held.Size(), 2U + 1 + 4);
}

TEST_F(HeldPacketsTest, StartsOverWithNothing) {
  HeldPackets held({0.5, 2});
  held.StartOver(2);
  AddUpTo(&held, 8, 0.25);
  ASSERT_TRUE(held.Suffices());
  held.StartOver(0);
  EXPECT_EQ(held.Size(), 0U);
  EXPECT_EQ(held.FirstHeard(), 0U);
  EXPECT_FALSE(held.Suffices());
  EXPECT_EQ(held.Blank()->pts, AV_NOPTS_VALUE);
}

}  // namespace
}  // namespace codec
