// SPDX-License-Identifier: MIT
#include "codec/decoder/picture_memo.h"

#include <gtest/gtest.h>

#include "tests/codec/decoder/memo_walker.h"

namespace codec {
namespace {

TEST(PictureMemo, PassesOnWhatItDoesNotKnow) {
  FakeDecoder decoder;
  Walker walker(&decoder, kUnlimited);
  walker.Read(0, 5, 9);
  EXPECT_EQ(walker.seen, Numbers(5, 9));
  EXPECT_EQ(decoder.given, 10);
  EXPECT_EQ(walker.memo.Count().answered, 0);
}

TEST(PictureMemo, AnswersASecondWalkFromMemory) {
  FakeDecoder decoder;
  Walker walker(&decoder, kUnlimited);
  walker.Read(0, 5, 9);
  walker.Read(0, 2, 6);
  EXPECT_EQ(walker.seen, Numbers(2, 6));
  EXPECT_EQ(decoder.given, 10);
  EXPECT_EQ(walker.memo.Count().answered, 7);
  EXPECT_EQ(walker.memo.Count().paid, 0);
}

TEST(PictureMemo, RemembersNothingWithoutABudget) {
  FakeDecoder decoder;
  Walker walker(&decoder, 0);
  walker.Read(0, 5, 9);
  walker.Read(0, 2, 6);
  EXPECT_EQ(walker.seen, Numbers(2, 6));
  EXPECT_EQ(decoder.given, 17);
}

TEST(PictureMemo, PaysWhatItOwesOnceTheDecoderIsNeeded) {
  FakeDecoder decoder;
  Walker walker(&decoder, kUnlimited);
  walker.closes = false;
  walker.Read(0, 5, 9);
  walker.Read(0, 2, 12);
  EXPECT_EQ(walker.seen, Numbers(2, 12));
  // Nobody asked whether there is more of packet 9.
  EXPECT_EQ(walker.memo.Count().answered, 9);
  EXPECT_EQ(walker.memo.Count().paid, 9);
  EXPECT_EQ(decoder.given, 10 + 13) << "packets 0 to 9 twice";
  EXPECT_EQ(decoder.sent.back(), 12);
}

TEST(PictureMemo, NeedsNothingBehindWhatALaterStepNeeds) {
  FakeDecoder decoder;
  Walker walker(&decoder, kUnlimited);
  walker.Read(0, 5, 9);  // closed at picture 6
  walker.Read(0, 2, 8);
  EXPECT_EQ(walker.seen, Numbers(2, 8));
  EXPECT_EQ(walker.memo.Count().answered, 7);
  EXPECT_EQ(decoder.given, 10 + 9);
}

// What no later walk needs takes no room from what a later walk needs.
TEST(PictureMemo, KeepsNothingThatComesAfterTheLastNeed) {
  FakeDecoder decoder;
  Walker walker(&decoder, 10 * kPictureBytes);
  walker.group = 1000;
  walker.Read(0, 20, 22);
  walker.Read(0, 13, 14);  // closed at picture 14: some before it are kept
  walker.Read(0, 2, 10);   // closed at picture 3
  const int given = decoder.given;
  walker.lookedAt = 0;
  walker.Read(0, 0, 3);
  EXPECT_EQ(walker.seen, Numbers(0, 3));
  EXPECT_EQ(decoder.given, given);
}

TEST(PictureMemo, RemembersOnFromAnotherPacket) {
  FakeDecoder decoder;
  Walker walker(&decoder, kUnlimited);
  walker.closes = false;
  walker.Read(0, 5, 9);
  // The same landing, then another packet in place of 4.
  walker.memo.Flush();
  for (const int number : {0, 1, 2, 3, 104, 105}) {
    walker.Send(number);
    EXPECT_EQ(walker.One(), number);
  }
  EXPECT_EQ(walker.memo.Count().paid, 4);
  // Once more: all of it is known, but for the last packet, which may have had more to give.
  const int given = decoder.given;
  walker.memo.Flush();
  for (const int number : {0, 1, 2, 3, 104}) {
    walker.Send(number);
    EXPECT_EQ(walker.One(), number);
  }
  EXPECT_EQ(decoder.given, given);
}

TEST(PictureMemo, KeepsTheLastPicturesOfALongWalk) {
  FakeDecoder decoder;
  Walker walker(&decoder, 10 * kPictureBytes);
  walker.group = 1000;
  walker.Read(0, 30, 35);
  EXPECT_EQ(decoder.given, 36);
  // Closed at picture 31: about as many as fit before that are kept.
  walker.Read(0, 25, 30);
  EXPECT_EQ(walker.seen, Numbers(25, 30));
  EXPECT_EQ(decoder.given, 36) << "stamps of lost pictures are still there";
}

TEST(PictureMemo, DecodesOnlyUpToWhatIsLeft) {
  FakeDecoder decoder;
  Walker walker(&decoder, 20 * kPictureBytes);
  walker.group = 1000;
  walker.Read(0, 30, 35);  // keeps pictures 12 to 31, less what packets take
  const int given = decoder.given;
  walker.Read(0, 4, 20);
  EXPECT_EQ(walker.seen, Numbers(4, 20));
  EXPECT_LE(decoder.given - given, 14);
  EXPECT_GE(decoder.given - given, 12);
}

TEST(PictureMemo, PaysOnceItOwesTooMuch) {
  FakeDecoder decoder;
  // Half of the budget is 40 packets of one byte: pictures 1 and on do not fit beside one another.
  Walker walker(&decoder, 80);
  walker.group = 1000;
  walker.Read(0, 90, 95);
  const int given = decoder.given;
  walker.Read(0, 80, 85);
  EXPECT_EQ(walker.seen, Numbers(80, 85));
  EXPECT_EQ(decoder.given - given, 86);
}

TEST(PictureMemo, OwesNoMoreThanHalfOfItsBudget) {
  FakeDecoder decoder;
  Walker walker(&decoder, 80);
  walker.group = 1000;
  walker.Read(0, 90, 95);
  walker.Read(0, 60, 60);
  EXPECT_EQ(walker.memo.Count().answered, 61) << "stamps are enough";
  EXPECT_LE(walker.memo.Count().owed, 41);
  EXPECT_GT(walker.memo.Count().paid, 0);
}

TEST(PictureMemo, ForgetsNothingInAFlushInTheMiddle) {
  for (const int late : {0, 3}) {
    FakeDecoder decoder(late, 2);
    Walker walker(&decoder, kUnlimited);
    walker.closes = false;
    walker.memo.Flush();
    for (int number = 0; number < 8; ++number) {
      walker.Send(number);
      const ffmpeg::UniqueFrame frame(av_frame_alloc());
      while (walker.memo.Receive(frame.get()) == 0) av_frame_unref(frame.get());
    }
    const int given = decoder.given;
    EXPECT_EQ(given, 8 - 2 - late);
    walker.Read(0, 0, given - 1);
    EXPECT_EQ(walker.seen, Numbers(0, given - 1));
    EXPECT_EQ(decoder.given, given) << late << " packets late";
  }
}

TEST(PictureMemo, AnswersTheEndOfTheInput) {
  for (const int late : {0, 1, 4}) {
    for (const int reorder : {0, 2}) {
      FakeDecoder decoder(late, reorder);
      Walker walker(&decoder, kUnlimited);
      walker.packets = 10;
      walker.closes = false;
      walker.Read(0, 5, 99);
      EXPECT_EQ(walker.seen, Numbers(5, 9));
      const int given = decoder.given;
      walker.Read(0, 2, 99);
      EXPECT_EQ(walker.seen, Numbers(2, 9)) << late << " late, reordered by " << reorder;
      EXPECT_EQ(decoder.given, given);
    }
  }
}

// The order of pictures and places is that of a decoder without threads, remembered or not.
TEST(PictureMemo, AnswersPlacesAsWithoutThreads) {
  FakeDecoder plain(0, 2);
  Walker expected(&plain, 0);
  expected.packets = 20;
  for (const int late : {1, 4, 15, 30}) {
    for (const int64_t budget : {int64_t{0}, int64_t{1}, 5 * int64_t{kPictureBytes}, kUnlimited}) {
      FakeDecoder decoder(late, 2);
      Walker walker(&decoder, budget);
      walker.packets = 20;
      for (const int target : {12, 4, 0}) {
        expected.Read(0, target, 99);
        walker.Read(0, target, 99);
        EXPECT_EQ(walker.seen, expected.seen) << late << " late, budget " << budget;
        walker.places.erase(std::unique(walker.places.begin(), walker.places.end()),
                            walker.places.end());
        expected.places.erase(std::unique(expected.places.begin(), expected.places.end()),
                              expected.places.end());
        EXPECT_EQ(walker.places.back(), expected.places.back());
      }
    }
  }
}

TEST(PictureMemo, TellsOfErrorsOnce) {
  FakeDecoder decoder;
  decoder.damaged = 3;
  Walker walker(&decoder, kUnlimited);
  walker.closes = false;
  walker.memo.Flush();
  std::vector<int> seen;
  for (int i = 0; i < 6; ++i) {
    walker.Send(i);
    seen.push_back(walker.One());
    EXPECT_EQ(seen.back() == kError, i == 3);
  }
  walker.Read(0, 0, 5);
  EXPECT_EQ(walker.seen, (std::vector<int>{0, 1, 2, 4, 5}));
}

// Three passes over the group, each of them up to where the one before it had to let go.
TEST(PictureMemo, DecodesALostBeginningAgain) {
  FakeDecoder decoder;
  Walker walker(&decoder, 24 * kPictureBytes);
  walker.packets = 60;
  walker.group = 1000;
  RunBackwards(&walker, 57, 3);
  EXPECT_GT(decoder.given, 60 + 36);
  EXPECT_LT(decoder.given, 60 + 36 + 24);
}

TEST(PictureMemo, TellsOfNoErrorOfAPictureThatWasGiven) {
  FakeDecoder decoder;
  Walker walker(&decoder, kUnlimited);
  walker.closes = false;
  walker.Read(0, 5, 9);
  decoder.damaged = 3;
  walker.Read(0, 1, 12);
  EXPECT_EQ(walker.seen, Numbers(1, 12)) << "all packets are paid";
  EXPECT_EQ(walker.errors, 0);
}

// A picture that had to go for room is not waited for if the decoder gives it no more.
TEST(PictureMemo, GoesOnWithoutAPictureThatDoesNotComeAgain) {
  FakeDecoder decoder;
  Walker walker(&decoder, 10 * kPictureBytes);
  walker.group = 1000;
  walker.packets = 40;
  walker.Read(0, 30, 35);
  decoder.damaged = 8;
  walker.Read(0, 5, 12);
  EXPECT_EQ(walker.seen, (std::vector<int>{5, 6, 7, kError, 9, 10, 11, 12}));
  EXPECT_EQ(decoder.sent.back(), 12);
}

TEST(PictureMemo, HasTheSamplesThatAWalkLooksAt) {
  FakeDecoder decoder;
  Walker walker(&decoder, 10 * kPictureBytes);
  walker.group = 1000;
  walker.Read(0, 30, 35);
  walker.lookedAt = 8;
  walker.Read(0, 8, 10);
  EXPECT_EQ(walker.seen, Numbers(8, 10));
  EXPECT_GT(decoder.given, 36) << "the samples were gone";
}

TEST(PictureMemo, AnswersWhatComesAfterAnEmptyPacketAsTheDecoderDoes) {
  FakeDecoder decoder;
  Walker walker(&decoder, kUnlimited);
  walker.packets = 10;
  walker.empty = 6;
  walker.Read(0, 2, 99);
  EXPECT_EQ(walker.seen, Numbers(2, 5));
  walker.Read(0, 1, 99);
  EXPECT_EQ(walker.seen, Numbers(1, 5));
}

TEST(PictureMemo, CountsWhatItOwes) {
  FakeDecoder decoder;
  Walker walker(&decoder, kUnlimited);
  walker.closes = false;
  walker.Read(0, 5, 9);
  EXPECT_EQ(walker.memo.Count().owed, 0);
  walker.Read(0, 2, 6);
  EXPECT_EQ(walker.memo.Count().owed, 7);
  EXPECT_EQ(walker.memo.Count().answered, 7);
  walker.memo.Flush();
  EXPECT_EQ(walker.memo.Count().owed, 0) << "a seek forgives";
  EXPECT_EQ(walker.memo.Count().paid, 0);
}

}  // namespace
}  // namespace codec
