#include "codec/decoder/picture_memo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <limits>
#include <vector>

namespace codec {
namespace {

constexpr int kPictureBytes = 100;
constexpr int kPacketBytes = 1;
constexpr int64_t kUnlimited = std::numeric_limits<int64_t>::max();

// Packet n becomes picture n, which comes `reorder` packets later, and another `late` packets later
// because of threads. Pictures tell how many packets the decoder had got since its last flush.
class FakeDecoder : public PictureDecoder {
 public:
  explicit FakeDecoder(int late = 0, int reorder = 0) : mLate(late), mReorder(reorder) {}

  int Send(AVPacket* packet) override {
    if (packet == nullptr) {
      mIsDraining = true;
      return 0;
    }
    mPackets.push_back(static_cast<int>(packet->pts));
    sent.push_back(mPackets.back());
    return 0;
  }

  int Receive(AVFrame* frame) override {
    const auto packets = static_cast<int>(mPackets.size());
    const int answerable = mIsDraining ? packets : packets - mLate;
    for (; mPlace < answerable; Next()) {
      if (mGave || mPlace < mReorder) continue;
      return Give(mPackets[static_cast<size_t>(mPlace - mReorder)], frame);
    }
    if (!mIsDraining) return AVERROR(EAGAIN);
    const int left = packets - mReorder + mDrained;
    if (left < 0 || left >= packets) return AVERROR_EOF;
    ++mDrained;
    return Give(mPackets[static_cast<size_t>(left)], frame);
  }

  int64_t Answered() const override { return mPlace; }

  void Flush() override {
    mPackets.clear();
    mIsDraining = false;
    mPlace = 0;
    mDrained = 0;
    mGave = false;
    ++flushes;
  }

  std::vector<int> sent;  // all packets
  int given = 0;          // pictures
  int flushes = 0;
  int damaged = -1;  // packet that gives an error instead of a picture

 private:
  void Next() {
    ++mPlace;
    mGave = false;
  }

  int Give(int number, AVFrame* frame) {
    mGave = true;
    if (number == damaged) return AVERROR_INVALIDDATA;
    ++given;
    frame->buf[0] = av_buffer_alloc(kPictureBytes);
    frame->data[0] = frame->buf[0]->data;
    std::memcpy(frame->data[0], &number, sizeof(number));
    frame->pts = number;
    frame->best_effort_timestamp = number;
    return 0;
  }

  const int mLate;
  const int mReorder;
  std::vector<int> mPackets;
  bool mIsDraining = false;
  int mPlace = 0;
  int mDrained = 0;
  bool mGave = false;
};

constexpr int kEnd = -1;
constexpr int kBlank = -2;  // a picture without samples
constexpr int kError = -3;

// A stream of numbered packets in groups, and a walk through it.
class Walker {
 public:
  Walker(FakeDecoder* decoder, int64_t budget)
      : memo(decoder, &mFailure, budget,
             [this](const AVPacket& packet) { return packet.pts % group == 0; }) {}

  void Send(int number) {
    const ffmpeg::UniquePacket packet(av_packet_alloc());
    packet->pts = packet->dts = packet->pos = number;
    packet->size = kPacketBytes;
    memo.Send(packet.get());
  }

  // Reads from packet `from` on, until picture `to` has come. What came is in `seen`, from picture
  // `target` on; up to it the walk looks at stamps only.
  void Read(int from, int target, int to) {
    memo.Flush();
    seen.clear();
    memo.BeginWalk();
    mNext = from;
    bool isOver = false;
    while (!isOver) {
      const int number = One();
      if (number == kEnd) break;
      if (number >= target && mIsWalking) {
        mIsWalking = false;
        memo.EndWalk();
        seen.push_back(mStamp);
        isOver = mStamp >= to;
        continue;
      }
      if (mIsWalking) continue;
      seen.push_back(number);
      if (closes && seen.size() == 2) memo.Close();
      isOver = number >= to;
    }
    mIsWalking = true;
  }

  // The next picture.
  int One() {
    const ffmpeg::UniqueFrame frame(av_frame_alloc());
    for (;;) {
      const int result = memo.Receive(frame.get());
      if (result == AVERROR_EOF) return kEnd;
      if (result == AVERROR(EAGAIN)) {
        places.push_back(static_cast<int>(memo.Answered()));
        if (!memo.WantsPacket()) continue;
        if (mNext < packets) {
          Send(mNext++);
        } else {
          memo.Send(nullptr);
        }
        continue;
      }
      if (result < 0) return kError;
      mStamp = static_cast<int>(frame->best_effort_timestamp);
      if (frame->buf[0] == nullptr) return mIsWalking ? mStamp : kBlank;
      int number = 0;
      std::memcpy(&number, frame->data[0], sizeof(number));
      return number;
    }
  }

  PictureMemo memo;
  std::vector<int> seen;
  std::vector<int> places;
  int packets = 1000;
  int group = 10;
  bool closes = true;

 private:
  FirstFailure mFailure;
  int mNext = 0;
  int mStamp = 0;
  bool mIsWalking = true;
};

std::vector<int> Numbers(int from, int to) {
  std::vector<int> numbers;
  for (int number = from; number <= to; ++number) numbers.push_back(number);
  return numbers;
}

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

// A backward run: each walk begins at the start of the group that holds its target.
void RunBackwards(Walker* walker, int from, int step) {
  for (int target = from; target >= 0; target -= step) {
    walker->Read(target / walker->group * walker->group, target, target + step + 1);
    ASSERT_EQ(walker->seen, Numbers(target, std::min(target + step + 1, walker->packets - 1)))
        << "from " << target;
  }
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

TEST(PictureMemo, TakesOverWhereALaterGroupIsRemembered) {
  for (const int late : {0, 1, 4}) {
    for (const int reorder : {0, 1, 2}) {
      FakeDecoder decoder(late, reorder);
      Walker walker(&decoder, kUnlimited);
      walker.packets = 60;
      walker.group = 10;
      RunBackwards(&walker, 54, 6);
      // Every packet is decoded once, and one at each border may come out again.
      EXPECT_LE(decoder.given, 60 + 8) << late << " late, reordered by " << reorder;
    }
  }
}

TEST(PictureMemo, DoesNotTakeOverWhatMayLeanOnEarlierPictures) {
  FakeDecoder decoder;
  FirstFailure failure;
  Walker walker(&decoder, kUnlimited);
  walker.packets = 60;
  walker.group = 7;  // walks begin at other packets than those that end all references
  for (int target = 54; target >= 0; target -= 6) {
    walker.Read(target / 10 * 10, target, target + 7);
    ASSERT_EQ(walker.seen, Numbers(target, std::min(target + 7, 59)));
  }
  EXPECT_GT(decoder.given, 70);
}

TEST(PictureMemo, DecodesOnAfterATakeover) {
  for (const int late : {0, 2}) {
    FakeDecoder decoder(late, 1);
    Walker walker(&decoder, kUnlimited);
    walker.Read(20, 25, 27);
    walker.Read(10, 13, 40);  // far behind what is remembered
    EXPECT_EQ(walker.seen, Numbers(13, 40)) << late << " late";
    walker.Read(10, 11, 22);
    EXPECT_EQ(walker.seen, Numbers(11, 22));
  }
}

TEST(PictureMemo, DropsALaterGroupForRoom) {
  FakeDecoder decoder;
  Walker walker(&decoder, 5 * kPictureBytes);
  walker.packets = 40;
  RunBackwards(&walker, 36, 4);
}

}  // namespace
}  // namespace codec
