#include "codec/decoder/replay_policy.h"

#include <gtest/gtest.h>

#include <vector>

namespace codec {
namespace {

TEST(ReplayPolicy, KeepsEverythingThatFits) {
  ReplayPolicy policy(100);
  EXPECT_EQ(policy.Add(40), 0U);
  EXPECT_EQ(policy.Add(60), 0U);
  EXPECT_EQ(policy.Bytes(), 100);
}

TEST(ReplayPolicy, GivesUpTheOldest) {
  ReplayPolicy policy(100);
  policy.Add(40);
  policy.Add(40);
  EXPECT_EQ(policy.Add(40), 1U);
  EXPECT_EQ(policy.Bytes(), 80);
  EXPECT_EQ(policy.Add(90), 2U);
  EXPECT_EQ(policy.Bytes(), 90);
}

TEST(ReplayPolicy, GivesUpEvenAnEntryThatNeverFits) {
  ReplayPolicy policy(100);
  policy.Add(10);
  EXPECT_EQ(policy.Add(101), 2U);
  EXPECT_EQ(policy.Bytes(), 0);
  EXPECT_EQ(policy.Grow(50), 0U) << "nothing is there to grow";
  EXPECT_EQ(policy.Bytes(), 0);
}

TEST(ReplayPolicy, CountsWhatTheNewestEntryGrowsBy) {
  ReplayPolicy policy(100);
  policy.Add(10);
  policy.Add(0);
  EXPECT_EQ(policy.Grow(95), 1U);
  EXPECT_EQ(policy.Bytes(), 95);
  EXPECT_EQ(policy.Grow(10), 1U) << "itself";
  EXPECT_EQ(policy.Bytes(), 0);
}

TEST(ReplayPolicy, CanGiveUpTheNewest) {
  ReplayPolicy policy(100);
  policy.Add(10);
  policy.Add(20);
  policy.Add(30);
  policy.RemoveNewest(2);
  EXPECT_EQ(policy.Bytes(), 10);
  policy.RemoveNewest(5);
  EXPECT_EQ(policy.Bytes(), 0);
}

TEST(ReplayPolicy, CountsWhatIsSetAsideButKeepsIt) {
  ReplayPolicy policy(100);
  policy.Add(10);
  policy.Add(20);
  policy.SetAside();
  EXPECT_EQ(policy.Bytes(), 30);
  EXPECT_EQ(policy.Add(70), 0U);
  EXPECT_EQ(policy.Add(1), 1U) << "what was set aside stays";
  EXPECT_EQ(policy.Bytes(), 31);
  policy.RemoveNewest(5);
  EXPECT_EQ(policy.Bytes(), 30);
  policy.ReleaseAside();
  EXPECT_EQ(policy.Bytes(), 0);
  EXPECT_EQ(policy.Add(100), 0U);
  policy.SetAside();
  EXPECT_EQ(policy.Add(1), 1U) << "itself, as there is no room";
  policy.Clear();
  EXPECT_EQ(policy.Bytes(), 0);
  EXPECT_EQ(policy.Add(100), 0U);
}

TEST(ReplayPolicy, KnowsWhetherWhatWentWouldFitNow) {
  ReplayPolicy policy(100);
  EXPECT_TRUE(policy.FitsWhatWent());
  policy.Add(30);
  policy.Add(50);
  policy.Add(40);
  EXPECT_FALSE(policy.FitsWhatWent()) << "30 went, 90 are kept";
  policy.RemoveNewest(1);
  EXPECT_TRUE(policy.FitsWhatWent());
  policy.Add(21);
  EXPECT_FALSE(policy.FitsWhatWent());
  policy.Clear();
  policy.Add(100);
  EXPECT_TRUE(policy.FitsWhatWent());
}

TEST(ReplayPolicy, KeepsNothingWithoutABudget) {
  EXPECT_FALSE(ReplayPolicy(0).IsEnabled());
  EXPECT_FALSE(ReplayPolicy(-1).IsEnabled());
  EXPECT_TRUE(ReplayPolicy(1).IsEnabled());
}

// Passes over a group of pictures, each one unit large, as a backward run makes them: each decodes
// from the start of the group to the part that is done, and the next ones are answered from what it
// kept.
int PicturesDecoded(int group, int budget) {
  int decoded = 0;
  int done = group;
  while (done > 0) {
    ReplayPolicy policy(budget);
    int kept = 0;
    for (int picture = 0; picture < done; ++picture) {
      kept += 1 - static_cast<int>(policy.Add(1));
      ++decoded;
    }
    done -= kept;
  }
  return decoded;
}

TEST(ReplayPolicy, CostsHalfTheDecodesOfPassesWithoutIt) {
  EXPECT_EQ(PicturesDecoded(250, 250), 250);
  // Two passes: (2 + 1) / 2 decodes a picture; five: (5 + 1) / 2.
  EXPECT_EQ(PicturesDecoded(250, 125), 250 * 3 / 2);
  EXPECT_EQ(PicturesDecoded(250, 50), 250 * 6 / 2);
}

TEST(ReplayPolicy, TakesAnEighthOfTheMachineOrAGibibyte) {
  EXPECT_GT(DefaultReplayBudget(), 0);
  EXPECT_LE(DefaultReplayBudget(), int64_t{1} << 30);
}

}  // namespace
}  // namespace codec
