#include "codec/decoder/answer_places.h"

#include <gtest/gtest.h>

#include <vector>

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
  places.SentEnd();
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
  AnswerPlaces places(2);
  for (int packet = 0; packet < 4; ++packet) places.Sent(AnswerPlaces::kNoStamp);
  places.WantsPacket();
  places.SentEnd();
  std::vector<int64_t> seen;
  for (int picture = 0; picture < 4; ++picture) {
    places.Gave(AnswerPlaces::kNoStamp);
    seen.push_back(places.Answered());
  }
  EXPECT_EQ(seen, (std::vector<int64_t>{2, 3, 4, 4}));
}

TEST(AnswerPlaces, BeginsAgainAfterAFlush) {
  AnswerPlaces places(1);
  places.Sent(1);
  places.Sent(2);
  places.SentEnd();
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

}  // namespace
}  // namespace codec
