// SPDX-License-Identifier: MIT
#include "codec/decoder/joined_parts.h"

#include <gtest/gtest.h>

namespace codec {
namespace {

constexpr int64_t kSecond = 1000000;

JoinedParts ThreeParts() {
  JoinedParts parts;
  parts.AddPart({0, 100 * kSecond, 160 * kSecond, 0});
  parts.AddPart({1000, 0, 60 * kSecond, 160 * kSecond});
  parts.AddPart({2000, 5000 * kSecond, 5060 * kSecond, -4780 * kSecond});
  return parts;
}

TEST(JoinedParts, MovesAStampByThePartOfItsPlace) {
  const JoinedParts parts = ThreeParts();
  EXPECT_EQ(parts.Shift(0, 100 * kSecond), 0);
  EXPECT_EQ(parts.Shift(999, 160 * kSecond), 0);
  EXPECT_EQ(parts.Shift(1000, 0), 160 * kSecond);
  EXPECT_EQ(parts.Shift(1999, 59 * kSecond), 160 * kSecond);
  EXPECT_EQ(parts.Shift(2000, 5000 * kSecond), -4780 * kSecond);
  EXPECT_EQ(parts.Shift(900000, 5059 * kSecond), -4780 * kSecond);
  EXPECT_EQ(parts.End(), 280 * kSecond);
}

TEST(JoinedParts, TellsTheLastPictureOnTheLine) {
  JoinedParts parts = ThreeParts();
  EXPECT_EQ(parts.LastPicture(), std::nullopt);
  parts.AddPart({3000, 7 * kSecond, 9 * kSecond, 273 * kSecond, 0, 0, 8 * kSecond});
  EXPECT_EQ(parts.LastPicture(), 281 * kSecond);
}

TEST(JoinedParts, LeavesAStampToThePartNextDoorWhoseTimeItTells) {
  const JoinedParts parts = ThreeParts();
  EXPECT_EQ(parts.Shift(1001, 160 * kSecond), 0);
  EXPECT_EQ(parts.Shift(999, kSecond), 160 * kSecond);
  EXPECT_EQ(parts.Shift(2001, 60 * kSecond), 160 * kSecond);
  // Nobody's time.
  EXPECT_EQ(parts.Shift(1001, 900 * kSecond), 160 * kSecond);
  // The first part's, but that is not next door.
  EXPECT_EQ(parts.Shift(2001, 120 * kSecond), -4780 * kSecond);
}

TEST(JoinedParts, KnowsThePicturesOfLaterPartsThatLackReferences) {
  JoinedParts parts;
  parts.AddPart({0, 0, 60 * kSecond, 0, 50, kSecond});
  parts.AddPart({1000, 0, 60 * kSecond, 60 * kSecond, 1100, 5 * kSecond});
  EXPECT_FALSE(parts.LacksReferences(10, 0));
  EXPECT_FALSE(parts.LacksReferences(60, 0));
  EXPECT_TRUE(parts.LacksReferences(1099, 6 * kSecond));
  EXPECT_TRUE(parts.LacksReferences(1200, 5 * kSecond - 1));
  EXPECT_FALSE(parts.LacksReferences(1100, 5 * kSecond));
  EXPECT_FALSE(JoinedParts().LacksReferences(10, 0));
}

TEST(JoinedParts, MovesNothingWithoutParts) {
  EXPECT_EQ(JoinedParts().Shift(7, 7), 0);
  EXPECT_EQ(JoinedParts().End(), std::nullopt);
  EXPECT_EQ(JoinedParts().LandingFor(0, 7), nullptr);
}

TEST(PartLandings, GiveTheLastOneThatIsNotLater) {
  PartLandings landings;
  landings.Add({2 * kSecond, 20, 10});
  landings.Add({3 * kSecond, 30, 20});
  EXPECT_EQ(landings.AtOrBefore(2 * kSecond - 1), nullptr);
  EXPECT_EQ(landings.AtOrBefore(2 * kSecond)->position, 20);
  EXPECT_EQ(landings.AtOrBefore(3 * kSecond - 1)->position, 20);
  EXPECT_EQ(landings.AtOrBefore(90 * kSecond)->position, 30);
}

TEST(PartLandings, LeaveOutWhatGoesBackOrLiesTooNear) {
  PartLandings landings;
  landings.Add({2 * kSecond, 20, 10});
  landings.Add({kSecond, 30, 20});
  landings.Add({2 * kSecond + 1000, 40, 30});
  landings.Add({3 * kSecond, 50, 40});
  ASSERT_EQ(landings.All().size(), 2U);
  EXPECT_EQ(landings.All()[1].position, 50);
}

TEST(PartLandings, StayFewHoweverLongTheFile) {
  constexpr int64_t kMany = 500000;
  PartLandings landings;
  for (int64_t i = 0; i < kMany; ++i) landings.Add({i * kSecond, i, i});
  EXPECT_LE(landings.All().size(), 8192U);
  for (const int64_t wanted : {int64_t{1000}, kMany / 2, kMany - 1}) {
    const PartLanding* const landing = landings.AtOrBefore(wanted * kSecond);
    ASSERT_NE(landing, nullptr);
    EXPECT_LE(landing->position, wanted);
    EXPECT_GT(landing->position, wanted - 256);
  }
}

}  // namespace
}  // namespace codec
