// SPDX-License-Identifier: MIT
#include "codec/decoder/memo_policy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace codec {
namespace {

using Places = std::vector<int64_t>;

TEST(MemoPolicy, KeepsWhatFits) {
  MemoPolicy policy(30);
  for (int64_t place = 0; place < 3; ++place) EXPECT_EQ(policy.Keep(place, 10), Places{});
  EXPECT_EQ(policy.Bytes(), 30);
}

TEST(MemoPolicy, LetsTheEarliestPlacesGo) {
  MemoPolicy policy(30);
  for (int64_t place = 0; place < 3; ++place) policy.Keep(place, 10);
  EXPECT_EQ(policy.Keep(3, 15), (Places{0, 1}));
  EXPECT_EQ(policy.Bytes(), 25);
}

TEST(MemoPolicy, LetsAPictureGoThatIsEarlierThanAllWithoutRoom) {
  MemoPolicy policy(30);
  for (int64_t place = 5; place < 8; ++place) policy.Keep(place, 10);
  EXPECT_EQ(policy.Keep(2, 10), Places{2});
  EXPECT_EQ(policy.Bytes(), 30);
}

TEST(MemoPolicy, KeepsAllPicturesOfAPlaceOrNone) {
  MemoPolicy policy(30);
  policy.Keep(0, 10);
  policy.Keep(0, 10);
  EXPECT_EQ(policy.Keep(1, 20), Places{0});
  EXPECT_EQ(policy.Bytes(), 20);
}

TEST(MemoPolicy, KeepsNothingWithoutABudget) {
  MemoPolicy policy(0);
  EXPECT_FALSE(policy.IsEnabled());
  EXPECT_EQ(policy.Keep(0, 1), Places{0});
}

TEST(MemoPolicy, HasRoomAgainAfterADrop) {
  MemoPolicy policy(30);
  for (int64_t place = 0; place < 3; ++place) policy.Keep(place, 10);
  policy.DropFrom(1);
  EXPECT_EQ(policy.Bytes(), 10);
  EXPECT_EQ(policy.Keep(1, 20), Places{});
  policy.DropFrom(0);
  EXPECT_EQ(policy.Bytes(), 0);
}

TEST(MemoPolicy, CountsWhatIsOwed) {
  MemoPolicy policy(30);
  policy.Keep(0, 10);
  policy.Keep(1, 10);
  EXPECT_EQ(policy.Owe(10), Places{});
  EXPECT_EQ(policy.Owe(5), Places{0}) << "pictures make room for packets";
  EXPECT_EQ(policy.Bytes(), 25);
  EXPECT_TRUE(policy.MayOwe());
  EXPECT_EQ(policy.Owe(1), Places{});
  EXPECT_FALSE(policy.MayOwe()) << "more than half of the budget";
  policy.Pay(1);
  EXPECT_TRUE(policy.MayOwe());
  EXPECT_EQ(policy.Keep(2, 5), Places{});
  EXPECT_EQ(policy.Bytes(), 30);
}

TEST(MemoPolicy, LetsThoseSetAsideGoFirst) {
  MemoPolicy policy(30);
  policy.Keep(0, 10);
  policy.Keep(1, 10);
  policy.SetAside();
  EXPECT_EQ(policy.Keep(0, 10), Places{});
  EXPECT_FALSE(policy.CrowdsOutAside(0));
  EXPECT_TRUE(policy.CrowdsOutAside(1));
  policy.DropAside();
  EXPECT_FALSE(policy.CrowdsOutAside(1000)) << "none are there";
  EXPECT_EQ(policy.Bytes(), 10);
}

TEST(MemoPolicy, JoinsThoseSetAside) {
  MemoPolicy policy(60);
  for (int64_t place = 0; place < 4; ++place) policy.Keep(place, 10);
  policy.SetAside();
  policy.Keep(0, 5);
  policy.Join(1, 7);
  // Places 7, 8 and 9 have 10 bytes each, the place set aside first is gone.
  EXPECT_EQ(policy.Bytes(), 35);
  EXPECT_EQ(policy.Keep(10, 51), (Places{0, 7, 8, 9}));
}

// How many pictures a backward run over a group decodes, which asks for `step` pictures at a time
// and decodes from the start of the group where a picture is not kept.
int PicturesDecoded(int group, int64_t budget, int step) {
  MemoPolicy policy(budget);
  std::set<int64_t> kept;
  int decoded = 0;
  for (int end = group; end > 0; end -= step) {
    const int begin = std::max(0, end - step);
    int last = end - 1;
    while (last >= begin && kept.count(last) != 0) --last;
    for (int64_t place = 0; begin <= last && place <= last; ++place) {
      ++decoded;
      if (!kept.insert(place).second) continue;
      for (const int64_t gone : policy.Keep(place, 1)) kept.erase(gone);
    }
    policy.DropFrom(begin);
    kept.erase(kept.lower_bound(begin), kept.end());
  }
  return decoded;
}

TEST(MemoPolicy, CostsHalfTheDecodesOfPassesWithoutIt) {
  EXPECT_EQ(PicturesDecoded(250, 250, 25), 250);
  // Two passes: (2 + 1) / 2 decodes a picture; five: (5 + 1) / 2.
  EXPECT_EQ(PicturesDecoded(250, 125, 25), 250 * 3 / 2);
  EXPECT_EQ(PicturesDecoded(250, 50, 25), 250 * 6 / 2);
}

}  // namespace
}  // namespace codec
