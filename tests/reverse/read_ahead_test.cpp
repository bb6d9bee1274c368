// SPDX-License-Identifier: MIT
#include "reverse/read_ahead.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "tests/faults/no_threads.h"
#include "tests/support/log_capture.h"

namespace codec {
namespace {

constexpr int kPictureBytes = 1000;
constexpr int kPicturesInAStep = 4;
constexpr int64_t kStepBytes = kPicturesInAStep * kPictureBytes;

// Pictures without end, and a count of the steps that were begun.
class CountingDecoder : public FFmpegDecoder {
 public:
  int Seek(double seconds, int /*mode*/) override {
    const std::lock_guard<std::mutex> lock(mMutex);
    ++mSeeks;
    mChanged.notify_all();
    if (mSeeks == failingSeek) throw std::runtime_error("no more");
    mTime = seconds;
    return 0;
  }

  int ReceiveFrame(uint8_t* /*buffer*/, uint32_t* size, uint32_t* type, double* pts) override {
    *size = 1;  // of the packet
    *type = kVideoFrame;
    *pts = mTime;
    mTime += 1.0 / picturesInAStep;
    return 0;
  }

  int GetFrameBufferSize() override { return pictureBytes; }

  void Finish() override {
    const std::lock_guard<std::mutex> lock(mMutex);
    mIsFinished = true;
    mChanged.notify_all();
  }

  bool IsFinished() {
    const std::lock_guard<std::mutex> lock(mMutex);
    return mIsFinished;
  }
  // Whether Finish is called, which it is at once or never.
  bool Finishes() {
    std::unique_lock<std::mutex> lock(mMutex);
    return mChanged.wait_for(lock, std::chrono::minutes(1), [&] { return mIsFinished; });
  }

  int Seeks() {
    const std::lock_guard<std::mutex> lock(mMutex);
    return mSeeks;
  }

  // Whether so many steps are begun, which they are at once or never.
  bool Reaches(int seeks, std::chrono::milliseconds limit = std::chrono::minutes(1)) {
    std::unique_lock<std::mutex> lock(mMutex);
    return mChanged.wait_for(lock, limit, [&] { return mSeeks >= seeks; });
  }

  int failingSeek = 0;
  int picturesInAStep = kPicturesInAStep;
  int pictureBytes = kPictureBytes;

 private:
  std::mutex mMutex;
  std::condition_variable mChanged;
  int mSeeks = 0;            // under mMutex
  bool mIsFinished = false;  // under mMutex
  double mTime = 0;
};

ReverseRange Range(double end) {
  ReverseRange range;
  range.end = end;
  range.bufferSize = 4 * kPictureBytes;
  return range;
}

// As a step that is written does it, one by one.
void PutBack(Segment step, FrameStock* stock) {
  for (std::unique_ptr<FrameBuffer>& frame : step.frames) stock->Put(std::move(frame));
}

// How many steps are begun behind those that were taken: at least `expected` each time, and the
// most that it ever was. A reader that goes too far has every step to be seen at it.
int MostAhead(CountingDecoder* decoder, int64_t mostBytes, int expected) {
  const int steps = std::max(10, 1000 / decoder->picturesInAStep);
  FrameStock stock(4 * kPictureBytes);
  SegmentReader reader(decoder, &stock, Range(steps));
  ReadAhead ahead(&reader, &stock, mostBytes);
  int most = 0;
  for (int taken = 1; taken <= steps; ++taken) {
    PutBack(ahead.Next(), &stock);
    EXPECT_TRUE(decoder->Reaches(std::min(taken + expected, steps)));
    // A reader that goes too far is slower than these steps are taken. So it gets time, once.
    if (taken == 1) decoder->Reaches(taken + expected + 1, std::chrono::milliseconds(100));
    most = std::max(most, decoder->Seeks() - taken);
  }
  return most;
}

int MostAhead(int64_t mostBytes, int expected) {
  CountingDecoder decoder;
  return MostAhead(&decoder, mostBytes, expected);
}

TEST(ReadAhead, FinishesTheDecoderWhileTheLastStepsAreStillToBeTaken) {
  CountingDecoder decoder;
  FrameStock stock(4 * kPictureBytes);
  SegmentReader reader(&decoder, &stock, Range(3));
  ReadAhead ahead(&reader, &stock, 1000 * kStepBytes);
  Segment first = ahead.Next();
  EXPECT_TRUE(decoder.Finishes());
  EXPECT_EQ(decoder.Seeks(), 3) << "not before the last step is read";
  PutBack(std::move(first), &stock);
  for (int step = 1; step < 3; ++step) PutBack(ahead.Next(), &stock);
}

TEST(ReadAhead, DoesNotFinishADecoderThatIsStillNeeded) {
  CountingDecoder decoder;
  FrameStock stock(4 * kPictureBytes);
  {
    SegmentReader reader(&decoder, &stock, Range(3));
    ReadAhead ahead(&reader, &stock, 0);
    PutBack(ahead.Next(), &stock);
  }
  EXPECT_FALSE(decoder.IsFinished());
}

TEST(ReadAhead, AlwaysReadsOneStepMore) { EXPECT_EQ(MostAhead(int64_t{0}, 1), 1); }

TEST(ReadAhead, ReadsAsManyStepsAsHaveRoom) {
  EXPECT_EQ(MostAhead(2 * kStepBytes, 2), 2);
  EXPECT_EQ(MostAhead(3 * kStepBytes - 1, 2), 2);
}

TEST(ReadAhead, ReadsNoMoreThanFourSmallSteps) { EXPECT_EQ(MostAhead(1000 * kStepBytes, 4), 4); }

TEST(ReadAhead, ReadsLargeStepsNoFurtherByDefault) {
  CountingDecoder decoder;
  decoder.pictureBytes = 12 << 20;  // 48 MB a step, of 128 MB
  EXPECT_EQ(MostAhead(&decoder, ReverseRange().aheadBytes, 2), 2);
}

TEST(ReadAhead, ReadsStepsOfManySmallFramesNoFurtherThanOne) {
  CountingDecoder decoder;
  decoder.picturesInAStep = 2500;
  EXPECT_EQ(MostAhead(&decoder, int64_t{1} << 40, 1), 1);
}

TEST(ReadAhead, GivesEveryStepInTurn) {
  CountingDecoder decoder;
  FrameStock stock(4 * kPictureBytes);
  SegmentReader reader(&decoder, &stock, Range(9));
  ReadAhead ahead(&reader, &stock, 3 * kStepBytes);
  for (int step = 8; step >= 0; --step) {
    const Segment segment = ahead.Next();
    EXPECT_EQ(segment.cursor, step);
    EXPECT_EQ(segment.bytes, kStepBytes);
    ASSERT_EQ(segment.frames.size(), size_t{kPicturesInAStep});
    EXPECT_EQ(segment.frames.front()->pts, step);
  }
}

TEST(ReadAhead, ThrowsWhatReadingThrewBehindTheStepsThatWereRead) {
  CountingDecoder decoder;
  decoder.failingSeek = 3;
  FrameStock stock(4 * kPictureBytes);
  SegmentReader reader(&decoder, &stock, Range(9));
  ReadAhead ahead(&reader, &stock, 3 * kStepBytes);
  EXPECT_EQ(ahead.Next().cursor, 8);
  EXPECT_EQ(ahead.Next().cursor, 7);
  EXPECT_THROW(ahead.Next(), std::runtime_error);
  EXPECT_THROW(ahead.Next(), std::runtime_error);
}

TEST(ReadAhead, ReadsInTurnWithoutAThread) {
  CountingDecoder decoder;
  FrameStock stock(4 * kPictureBytes);
  SegmentReader reader(&decoder, &stock, Range(9));
  const test_support::LogCapture log;
  const test_support::NoThreads none;
  ReadAhead ahead(&reader, &stock, 3 * kStepBytes);
  EXPECT_EQ(ahead.Next().cursor, 8);
  EXPECT_EQ(decoder.Seeks(), 1);
  EXPECT_EQ(ahead.Next().cursor, 7);
  EXPECT_TRUE(
      log.Has(kLogWarn, "codec::Reverse", "no thread for the next step, reading it in turn"));
}

}  // namespace
}  // namespace codec
