// SPDX-License-Identifier: MIT
#include "codec/decoder/later_group.h"

#include <gtest/gtest.h>

namespace codec {
namespace {

constexpr int64_t kBegin = 100;  // place and stamp of the first packet

PacketIdentity Packet(int64_t number) { return {10, number, number, number * 1000, false}; }

// Packets from kBegin on. `stamps` has the stamp of the picture of each, or -1 for none.
MemoRow Places(const std::vector<int64_t>& stamps) {
  MemoRow places;
  for (const int64_t stamp : stamps) {
    MemoPlace place;
    place.identity = Packet(kBegin + static_cast<int64_t>(places.size()));
    if (stamp >= 0) place.pictures.push_back({nullptr, stamp});
    places.push_back(std::move(place));
  }
  return places;
}

TEST(LaterGroup, TakesOverAtItsFirstPicture) {
  LaterGroup group;
  MemoRow places = Places({-1, 100, 101, 102});
  ASSERT_TRUE(group.SetAside(&places));
  EXPECT_TRUE(places.empty());
  EXPECT_TRUE(group.Follow(6, Packet(99)));
  EXPECT_EQ(group.Border(), LaterGroup::kNone);
  EXPECT_TRUE(group.Follow(7, Packet(100)));
  EXPECT_EQ(group.Border(), 7);
  EXPECT_EQ(group.BorderStamp(), 100);
  EXPECT_FALSE(group.IsReached(7));
  EXPECT_TRUE(group.Follow(8, Packet(101)));
  ASSERT_TRUE(group.IsReached(8));
  EXPECT_EQ(group.Takeover(), LaterGroup::kNone);
  const MemoRow taken = group.TakeOver(8);
  ASSERT_EQ(taken.size(), 3U);
  EXPECT_EQ(taken.front().pictures.front().stamp, 100);
  EXPECT_EQ(group.Takeover(), 8);
  EXPECT_TRUE(group.IsEmpty());
  EXPECT_EQ(group.Border(), 7) << "where the decoder would have to begin again";
  group.EndTakeover();
  EXPECT_EQ(group.Takeover(), LaterGroup::kNone);
  EXPECT_EQ(group.Border(), LaterGroup::kNone);
}

// In open groups pictures are shown before the key picture but coded after it.
TEST(LaterGroup, TakesOverAfterPicturesThatAreShownBeforeIt) {
  LaterGroup group;
  MemoRow places = Places({100, 98, 99, 101, 102});
  ASSERT_TRUE(group.SetAside(&places));
  EXPECT_EQ(group.Trusted(), 3);
}

TEST(LaterGroup, CannotTakeOverWithoutAPictureOfItsOwn) {
  LaterGroup group;
  MemoRow places = Places({-1, -1, 99});
  EXPECT_FALSE(group.SetAside(&places));
  EXPECT_EQ(places.size(), 3U);
  places = Places({-1, 100});
  places.back().identity.isEnd = true;
  EXPECT_FALSE(group.SetAside(&places)) << "the end brings out pictures of the group before, too";
  places = Places({});
  EXPECT_FALSE(group.SetAside(&places));
}

TEST(LaterGroup, CannotTakeOverIfItIsDamagedOrHasNoStamp) {
  LaterGroup group;
  MemoRow places = Places({100, 101});
  places.back().isIntact = false;
  EXPECT_FALSE(group.SetAside(&places));
  places = Places({100, 101});
  places.front().identity.pts = AV_NOPTS_VALUE;
  EXPECT_FALSE(group.SetAside(&places));
}

TEST(LaterGroup, IsNotFollowedByOtherPackets) {
  PacketIdentity others[] = {Packet(101), Packet(101), Packet(101), Packet(101)};
  others[0].size = 11;
  others[1].pts = 102;
  others[2].position = 1;
  others[3].isEnd = true;
  for (const PacketIdentity& other : others) {
    LaterGroup group;
    MemoRow places = Places({-1, -1, 100});
    ASSERT_TRUE(group.SetAside(&places));
    EXPECT_TRUE(group.Follow(7, Packet(100)));
    EXPECT_FALSE(group.Follow(8, other));
  }
  LaterGroup group;
  MemoRow places = Places({100});
  ASSERT_TRUE(group.SetAside(&places));
  PacketIdentity again = Packet(100);
  again.dts = 5;
  EXPECT_TRUE(group.Follow(7, again)) << "demuxers make up the stamps of decoding";
}

TEST(LaterGroup, GivesItsPlacesBack) {
  LaterGroup group;
  MemoRow places = Places({100, 101});
  ASSERT_TRUE(group.SetAside(&places));
  EXPECT_TRUE(group.IsSameLanding(Packet(100)));
  EXPECT_FALSE(group.IsSameLanding(Packet(101)));
  EXPECT_EQ(group.TakeBack().size(), 2U);
  EXPECT_TRUE(group.IsEmpty());
  EXPECT_FALSE(group.IsSameLanding(Packet(100)));
}

}  // namespace
}  // namespace codec
