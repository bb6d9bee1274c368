// SPDX-License-Identifier: MIT
// What a memo does at the border between two groups.
#include <gtest/gtest.h>

#include "codec/decoder/picture_memo.h"
#include "tests/codec/decoder/memo_walker.h"

namespace codec {
namespace {

TEST(Takeover, DecodesEachGroupOnce) {
  for (const int late : {0, 1, 4}) {
    for (const int reorder : {0, 1, 2}) {
      FakeDecoder decoder(late, reorder);
      Walker walker(&decoder, kUnlimited);
      walker.packets = 60;
      walker.group = 10;
      RunBackwards(&walker, 54, 6);
      // Every picture is decoded once. If pictures are reordered, the first one of each later group
      // comes again: only it shows that the group before has ended.
      const int borders = 5;
      EXPECT_EQ(decoder.given, 60 + (reorder > 0 ? borders : 0))
          << late << " late, reordered by " << reorder;
    }
  }
}

TEST(Takeover, DoesNotRelyOnAGroupThatMayLeanOnEarlierPictures) {
  FakeDecoder decoder;
  Walker walker(&decoder, kUnlimited);
  walker.packets = 60;
  walker.group = 7;  // walks begin at other packets than those that end all references
  for (int target = 54; target >= 0; target -= 6) {
    walker.Read(target / 10 * 10, target, target + 7);
    ASSERT_EQ(walker.seen, Numbers(target, std::min(target + 7, 59)));
  }
  EXPECT_GT(decoder.given, 70);
}

// The pictures are right, and the decoder gets the packets from the border on once more.
TEST(Takeover, DecodesOnFromTheBorder) {
  for (const int late : {0, 2}) {
    FakeDecoder decoder(late, 1);
    Walker walker(&decoder, kUnlimited);
    walker.Read(20, 25, 27);
    decoder.sent.clear();
    walker.Read(10, 13, 40);  // far beyond what is remembered
    EXPECT_EQ(walker.seen, Numbers(13, 40)) << late << " late";
    // Packet 20 brings picture 19, and 21 would bring picture 20, which is remembered.
    std::vector<int> expected = Numbers(10, 20);
    for (const int number : Numbers(20, 41 + late)) expected.push_back(number);
    EXPECT_EQ(decoder.sent, expected);
    walker.Read(10, 11, 22);
    EXPECT_EQ(walker.seen, Numbers(11, 22));
  }
}

// What is remembered now serves more steps than what comes later.
TEST(Takeover, DropsALaterGroupForRoom) {
  FakeDecoder decoder;
  Walker walker(&decoder, 12 * kPictureBytes + kPictureBytes / 2);
  walker.Read(20, 25, 28);  // closed at picture 26
  walker.Read(10, 15, 18);  // closed at picture 16
  const int given = decoder.given;
  walker.lookedAt = 10;
  walker.Read(10, 10, 16);
  EXPECT_EQ(walker.seen, Numbers(10, 16));
  EXPECT_EQ(decoder.given, given);
}

TEST(Takeover, DoesNotRelyOnADamagedGroup) {
  for (const int picture : {22, 24}) {
    FakeDecoder decoder;
    (picture == 22 ? decoder.corrupt : decoder.damaged) = picture;
    Walker walker(&decoder, kUnlimited);
    walker.Read(20, 25, 27);
    decoder.corrupt = decoder.damaged = -1;
    decoder.sent.clear();
    walker.Read(10, 15, 24);
    EXPECT_EQ(walker.seen, Numbers(15, 24));
    EXPECT_EQ(decoder.sent, Numbers(10, 24)) << "what was wrong may come right from further back";
  }
}

TEST(Takeover, DecodesALostBeginningOfTheLaterGroup) {
  FakeDecoder decoder;
  Walker walker(&decoder, 11 * kPictureBytes);
  walker.starts = {0, 4};
  walker.Read(4, 20, 24);
  walker.Read(4, 14, 15);  // pictures 11 to 15 are kept
  decoder.sent.clear();
  walker.Read(0, 1, 15);
  EXPECT_EQ(walker.seen, Numbers(1, 15));
  std::vector<int> expected = Numbers(0, 3);
  for (const int number : Numbers(4, decoder.sent.back())) expected.push_back(number);
  EXPECT_EQ(decoder.sent, expected);
  EXPECT_LT(decoder.sent.back(), 15) << "the others are remembered";
}

// From further back the decoder gives the pictures sooner, or later, than from the border.
TEST(Takeover, GivesEachPictureOnceIfTheDecoderAnswersOtherwise) {
  for (const int late : {0, 4}) {
    for (const int first : {0, 1, 3}) {
      for (const int second : {0, 1, 3}) {
        SCOPED_TRACE(testing::Message()
                     << late << " late, reordered by " << first << ", then by " << second);
        FakeDecoder decoder(late);
        decoder.reorderFrom = {{20, first}, {10, second}, {0, second}};
        Walker walker(&decoder, kUnlimited);
        walker.Read(20, 25, 28);
        walker.Read(10, 15, 27);
        EXPECT_EQ(walker.seen, Numbers(15, 27));
        walker.Read(10, 11, 18);
        EXPECT_EQ(walker.seen, Numbers(11, 18));
        walker.Read(0, 5, 27);
        EXPECT_EQ(walker.seen, Numbers(5, 27));
      }
    }
  }
}

TEST(Takeover, ForgetsGroupsThatDoNotFitTogether) {
  FakeDecoder decoder;
  decoder.reorderFrom = {{20, 0}, {10, 2}};
  Walker walker(&decoder, kUnlimited);
  walker.Read(20, 25, 28);
  walker.Read(10, 15, 24);  // pictures 18 and 19 come out of the drained decoder
  const int given = decoder.given;
  walker.Read(10, 12, 16);
  EXPECT_EQ(walker.seen, Numbers(12, 16));
  EXPECT_GT(decoder.given, given);
}

TEST(Takeover, GoesOnAfterAnEmptyPacketBeforeTheBorder) {
  FakeDecoder decoder;
  Walker walker(&decoder, kUnlimited);
  walker.Read(20, 25, 28);
  walker.empty = 17;
  walker.Read(10, 13, 24);
  EXPECT_EQ(walker.seen, (std::vector<int>{13, 14, 15, 16, 20, 21, 22, 23, 24}));
}

// A seek may have to go further back, and then the walk from the first landing was in vain.
TEST(Takeover, KeepsTheGroupInAWalkThatWasNotUsed) {
  FakeDecoder decoder;
  Walker walker(&decoder, kUnlimited);
  walker.Read(20, 25, 28);
  walker.memo.Flush();
  walker.memo.BeginWalk();
  for (const int number : {10, 11}) {
    walker.Send(number);
    EXPECT_EQ(walker.One(), number);
  }
  decoder.sent.clear();
  walker.Read(0, 5, 24);
  EXPECT_EQ(walker.seen, Numbers(5, 24));
  EXPECT_EQ(decoder.sent, Numbers(0, 19));
}

TEST(Takeover, AnswersAWalkThatLandsOnTheLaterGroupAgain) {
  FakeDecoder decoder;
  Walker walker(&decoder, kUnlimited);
  walker.Read(20, 25, 28);
  walker.Read(10, 12, 13);
  const int given = decoder.given;
  walker.Read(20, 22, 25);
  EXPECT_EQ(walker.seen, Numbers(22, 25));
  EXPECT_EQ(decoder.given, given);
}

}  // namespace
}  // namespace codec
