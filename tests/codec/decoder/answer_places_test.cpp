// SPDX-License-Identifier: MIT
#include "codec/decoder/answer_places.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace codec {
namespace {

TEST(AnswerPlaces, AnswersAtOnceWithoutThreads) {
  AnswerPlaces places(0);
  places.Sent(10);
  EXPECT_EQ(places.Answered(), 0);
  places.Gave(10);
  EXPECT_EQ(places.Answered(), 0) << "the picture belongs to the first packet";
  places.WantsPacket();
  EXPECT_EQ(places.Answered(), 1);
  places.Sent(20);
  places.WantsPacket();
  EXPECT_EQ(places.Answered(), 2) << "a packet without a picture";
}

TEST(AnswerPlaces, AnswersAsManyPacketsLateAsToldOf) {
  AnswerPlaces places(3);
  for (int packet = 0; packet < 3; ++packet) {
    places.Sent(packet);
    places.WantsPacket();
    EXPECT_EQ(places.Answered(), 0);
  }
  for (int packet = 3; packet < 10; ++packet) {
    places.Sent(packet);
    places.Gave(packet - 3);
    EXPECT_EQ(places.Answered(), packet - 3);
    places.WantsPacket();
    EXPECT_EQ(places.Answered(), packet - 2);
  }
}

TEST(AnswerPlaces, KnowsTheLastPacketsByTheirStamps) {
  AnswerPlaces places(3);
  for (int packet = 0; packet < 5; ++packet) places.Sent(packet * 10);
  places.WantsPacket();
  EXPECT_EQ(places.Answered(), 2);
  places.SentEnd(0);
  // The packet of stamp 20 has no picture.
  places.Gave(30);
  EXPECT_EQ(places.Answered(), 3);
  places.Gave(40);
  EXPECT_EQ(places.Answered(), 4);
  places.Gave(40);
  EXPECT_EQ(places.Answered(), 4) << "a second picture of the same packet";
  places.Gave(AnswerPlaces::kNoStamp);
  EXPECT_EQ(places.Answered(), 5) << "brought out by the end";
  places.Gave(AnswerPlaces::kNoStamp);
  EXPECT_EQ(places.Answered(), 5);
  places.Ended();
  EXPECT_EQ(places.Answered(), 6);
}

TEST(AnswerPlaces, GuessesOnePictureForEachOfTheLastPacketsWithoutStamps) {
  for (const int reorder : {0, 1, 2}) {
    AnswerPlaces places(2);
    constexpr int kPackets = 6;
    int given = 0;
    for (int packet = 0; packet < kPackets; ++packet) {
      places.Sent(AnswerPlaces::kNoStamp);
      if (packet >= 2 + reorder) {
        places.Gave(AnswerPlaces::kNoStamp);
        ++given;
      }
      places.WantsPacket();
    }
    places.SentEnd(reorder);
    for (; given < kPackets; ++given) {
      places.Gave(AnswerPlaces::kNoStamp);
      EXPECT_EQ(places.Answered(), std::min(given + reorder, kPackets)) << "picture " << given;
    }
  }
}

// Packet 1 has a picture that is not shown, so that its answer comes a packet sooner.
TEST(AnswerPlaces, CountsThePartsOfAPacket) {
  AnswerPlaces places(2);
  places.Sent(0);
  places.WantsPacket();
  places.Sent(1, 2);
  places.Gave(0);
  EXPECT_EQ(places.Answered(), 0);
  places.WantsPacket();
  EXPECT_EQ(places.Answered(), 1) << "three parts are sent";
  places.Sent(2);
  places.WantsPacket();
  EXPECT_EQ(places.Answered(), 1) << "half of packet 1 is answered";
  places.Sent(3);
  places.Gave(1);
  EXPECT_EQ(places.Answered(), 1);
  places.WantsPacket();
  EXPECT_EQ(places.Answered(), 2);
}

TEST(AnswerPlaces, BeginsAgainAfterAFlush) {
  AnswerPlaces places(1);
  places.Sent(1);
  places.Sent(2);
  places.SentEnd(0);
  places.Ended();
  places.Flush();
  EXPECT_EQ(places.Answered(), 0);
  places.Sent(7);
  places.WantsPacket();
  EXPECT_EQ(places.Answered(), 0);
  places.Sent(8);
  places.Gave(7);
  EXPECT_EQ(places.Answered(), 0);
}

TEST(AnswerPlaces, ForgetsPacketsUnderWayAtAFlush) {
  AnswerPlaces places(1);
  places.Sent(1);
  places.Sent(2);
  places.Flush();
  places.Sent(7);
  places.Sent(8);
  places.SentEnd(0);
  places.Gave(8);
  EXPECT_EQ(places.Answered(), 1);
}

}  // namespace
}  // namespace codec
