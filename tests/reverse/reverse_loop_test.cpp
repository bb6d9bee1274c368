// SPDX-License-Identifier: MIT
#include "reverse/reverse_loop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>
#include <thread>
#include <vector>

#include "tests/support/log_capture.h"
#include "tests/support/same_items.h"

namespace codec {
namespace {

struct SourceFrame {
  uint32_t type;
  double pts;
};

// A clip of numbers: the decode-forward seek consumes the first picture at or after its target and
// nothing at 0, and leaves out the sound before it, as the real one does.
class FakeDecoder : public FFmpegDecoder {
 public:
  explicit FakeDecoder(std::vector<SourceFrame> frames) : mFrames(std::move(frames)) {}

  int Seek(double seconds, int mode) override {
    seeks.push_back(seconds);
    EXPECT_EQ(mode, 3);
    mNext = 0;
    if (seconds == 0) return 0;
    while (mNext < mFrames.size() &&
           (mFrames[mNext].type != kVideoFrame || mFrames[mNext].pts < seconds)) {
      ++mNext;
    }
    if (mNext == mFrames.size()) return -1;
    ++mNext;
    return 0;
  }

  int ReceiveFrame(uint8_t* buffer, uint32_t* size, uint32_t* type, double* pts) override {
    if (mNext == mFrames.size()) return -1;
    const SourceFrame& frame = mFrames[mNext++];
    ++delivered;
    *type = frame.type;
    *pts = frame.pts;
    *size = 8;
    const float samples[2] = {static_cast<float>(frame.pts), static_cast<float>(frame.pts) + 1};
    std::memcpy(buffer, samples, sizeof(samples));
    return 0;
  }

  std::vector<double> seeks;
  int delivered = 0;

 private:
  const std::vector<SourceFrame> mFrames;
  size_t mNext = 0;
};

struct WrittenFrame {
  int type;
  int64_t stamp;
  float first;
  float second;
};

class FakeWriter : public MediaWriter {
 public:
  int Configure(MediaFormat& /*format*/) override { return 0; }
  int Start() override { return 0; }
  void Stop() override {}
  void WriteFrame(int type, uint8_t* data, uint32_t size, int64_t pts) override {
    ASSERT_EQ(size, 8U);
    float samples[2];
    std::memcpy(samples, data, sizeof(samples));
    frames.push_back({type, pts, samples[0], samples[1]});
  }
  int64_t GetParameter(const char* /*key*/) override { return 0; }
  void SetParameter(const char* /*key*/, int /*value*/) override {}
  void SetParameter(const char* /*key*/, double /*value*/) override {}

  std::vector<int64_t> Stamps(uint32_t type) const {
    std::vector<int64_t> stamps;
    for (const WrittenFrame& frame : frames) {
      if (frame.type == static_cast<int>(type)) stamps.push_back(frame.stamp);
    }
    return stamps;
  }

  std::vector<WrittenFrame> frames;
};

std::vector<SourceFrame> Video(double seconds, double frameRate) {
  std::vector<SourceFrame> frames;
  for (int n = 0; n < seconds * frameRate; ++n) frames.push_back({kVideoFrame, n / frameRate});
  return frames;
}

// Pictures and blocks of a quarter second, in file order.
std::vector<SourceFrame> VideoAndAudio(double seconds, double frameRate) {
  std::vector<SourceFrame> frames = Video(seconds, frameRate);
  for (int n = 0; n < seconds * 4; ++n) frames.push_back({kAudioFrame, n / 4.0});
  std::stable_sort(frames.begin(), frames.end(),
                   [](const SourceFrame& a, const SourceFrame& b) { return a.pts < b.pts; });
  return frames;
}

ReverseRange Range(double start, double end, bool hasAudio = false) {
  ReverseRange range;
  range.start = start;
  range.end = end;
  range.hasAudio = hasAudio;
  range.channels = 1;
  range.sampleFormat = 3;
  range.bufferSize = 64;
  return range;
}

int RunAll(ReverseLoop* loop) {
  int steps = 0;
  while (loop->Step() == 0) ++steps;
  return steps;
}

TEST(ReverseLoop, TakesThreeStepsForThreeSecondsThenSaysItIsOver) {
  FakeDecoder decoder(Video(3, 25));
  FakeWriter writer;
  const test_support::LogCapture log;
  ReverseLoop loop(&decoder, &writer, Range(0, 3));
  EXPECT_EQ(RunAll(&loop), 3);
  EXPECT_EQ(decoder.seeks, (std::vector<double>{2, 1, 0}));
  EXPECT_TRUE(log.Has(kLogDebug, "codec::Reverse", "Reverse over"));

  const std::vector<int64_t> stamps = writer.Stamps(kVideoFrame);
  ASSERT_EQ(stamps.size(), 75U);
  for (size_t n = 0; n < stamps.size(); ++n) {
    const double pts = static_cast<double>(74 - n) / 25.0;
    EXPECT_EQ(stamps[n], static_cast<int64_t>((3 - pts) * 1000000));
  }
}

TEST(ReverseLoop, WritesEveryFrameOnceWhereTheRangeBeginsInsideTheClip) {
  FakeDecoder decoder(Video(6, 25));
  FakeWriter writer;
  ReverseLoop loop(&decoder, &writer, Range(1.3, 4.7));
  RunAll(&loop);
  // Frames 33 (1.32 s) to 117 (4.68 s).
  const std::vector<int64_t> stamps = writer.Stamps(kVideoFrame);
  ASSERT_EQ(stamps.size(), 85U);
  EXPECT_EQ(stamps.front(), static_cast<int64_t>((4.7 - 117 / 25.0) * 1000000));
  EXPECT_EQ(stamps.back(), static_cast<int64_t>((4.7 - 33 / 25.0) * 1000000));
  EXPECT_TRUE(std::is_sorted(stamps.begin(), stamps.end(), std::less_equal<>()));
}

TEST(ReverseLoop, ReadsPastAStartInsideAStepButDoesNotWriteIt) {
  FakeDecoder decoder(Video(6, 25));
  FakeWriter writer;
  ReverseLoop loop(&decoder, &writer, Range(2.5, 4));
  EXPECT_EQ(RunAll(&loop), 2);
  EXPECT_EQ(decoder.seeks, (std::vector<double>{3, 2}));
  EXPECT_EQ(loop.Cursor(), 2);
  // 2.52 is the first at or after 2.5; the seek of the second step consumed the one at 2.0.
  EXPECT_EQ(writer.Stamps(kVideoFrame).size(), 37U);
}

TEST(ReverseLoop, NeverWritesTheFrameAtTheVeryEnd) {
  FakeDecoder decoder(Video(5, 25));
  FakeWriter writer;
  ReverseLoop loop(&decoder, &writer, Range(0, 3));
  RunAll(&loop);
  EXPECT_EQ(writer.Stamps(kVideoFrame).front(), 40000);
  EXPECT_EQ(writer.Stamps(kVideoFrame).size(), 75U);
}

TEST(ReverseLoop, LosesOnlyTheFrameThatTheLastSeekConsumes) {
  FakeDecoder decoder(Video(6, 25));
  FakeWriter writer;
  ReverseLoop loop(&decoder, &writer, Range(2, 5));
  RunAll(&loop);
  const std::vector<int64_t> stamps = writer.Stamps(kVideoFrame);
  EXPECT_EQ(stamps.size(), 74U);
  EXPECT_EQ(stamps.back(), 2960000) << "the frame at 2.04 s; the one at 2.0 s was consumed";
}

TEST(ReverseLoop, FindsNothingToDoWhereTheEndIsNotAfterTheStart) {
  FakeDecoder decoder(Video(5, 25));
  FakeWriter writer;
  for (const double end : {2.0, 1.0}) {
    ReverseLoop loop(&decoder, &writer, Range(2, end));
    EXPECT_EQ(loop.Step(), -1);
  }
  EXPECT_TRUE(writer.frames.empty());
  EXPECT_TRUE(decoder.seeks.empty());
}

TEST(ReverseLoop, StopsReadingAtTheFirstPictureOfTheBoundaryWithoutAudio) {
  FakeDecoder decoder(VideoAndAudio(4, 4));
  FakeWriter writer;
  ReverseRange range = Range(0, 2);
  range.overlap = false;  // only what the first step reads is counted
  ReverseLoop loop(&decoder, &writer, range);
  loop.Step();
  // Three pictures after the consumed one at 1.0, the one at 2.0, and the sound between them.
  EXPECT_EQ(decoder.delivered, 8);
  EXPECT_EQ(writer.Stamps(kVideoFrame).size(), 3U);
  EXPECT_TRUE(writer.Stamps(kAudioFrame).empty());
}

TEST(ReverseLoop, WritesPicturesAndSoundInterleavedNewestFirst) {
  FakeDecoder decoder(VideoAndAudio(4, 4));
  FakeWriter writer;
  ReverseLoop loop(&decoder, &writer, Range(0, 4, true));
  RunAll(&loop);
  EXPECT_EQ(writer.Stamps(kVideoFrame).size(), 16U);
  const std::vector<int64_t> audio = writer.Stamps(kAudioFrame);
  ASSERT_EQ(audio.size(), 16U);
  for (size_t n = 0; n < audio.size(); ++n) {
    EXPECT_EQ(audio[n], static_cast<int64_t>(n + 1) * 250000);
  }
  int64_t last = 0;
  for (const WrittenFrame& frame : writer.frames) {
    EXPECT_GE(frame.stamp, last);
    last = frame.stamp;
  }
}

TEST(ReverseLoop, ReversesTheSamplesOfSoundOnly) {
  FakeDecoder decoder(VideoAndAudio(1, 4));
  FakeWriter writer;
  ReverseLoop loop(&decoder, &writer, Range(0, 1, true));
  RunAll(&loop);
  ASSERT_EQ(writer.frames.size(), 8U);
  for (const WrittenFrame& frame : writer.frames) {
    if (frame.type == static_cast<int>(kAudioFrame)) {
      EXPECT_EQ(frame.first, frame.second + 1);
    } else {
      EXPECT_EQ(frame.first + 1, frame.second);
    }
  }
}

TEST(ReverseLoop, KeepsSoundThatComesLateInTheFile) {
  // All sound of the second stands behind a picture that already lies past the boundary.
  std::vector<SourceFrame> frames = Video(2, 4);
  for (int n = 0; n < 8; ++n) frames.push_back({kAudioFrame, n / 4.0});
  FakeDecoder decoder(frames);
  FakeWriter writer;
  ReverseLoop loop(&decoder, &writer, Range(0, 2, true));
  RunAll(&loop);
  EXPECT_EQ(writer.Stamps(kVideoFrame).size(), 8U);
  EXPECT_EQ(writer.Stamps(kAudioFrame).size(), 8U);
}

TEST(ReverseLoop, ReportsProgressByTheCursor) {
  FakeDecoder decoder(Video(10, 25));
  FakeWriter writer;
  ReverseLoop loop(&decoder, &writer, Range(0, 10));
  EXPECT_EQ(loop.Progress(), 0.0F);
  loop.Step();
  EXPECT_FLOAT_EQ(loop.Progress(), 10.0F);
  RunAll(&loop);
  EXPECT_FLOAT_EQ(loop.Progress(), 100.0F);
}

TEST(ReverseLoop, EndsWhenTheDecoderGivesNothing) {
  FakeDecoder decoder({});
  FakeWriter writer;
  ReverseLoop loop(&decoder, &writer, Range(0, 2.5, true));
  EXPECT_EQ(RunAll(&loop), 3);
  EXPECT_TRUE(writer.frames.empty());
}

TEST(ReverseLoop, TellsARangeWithoutPicturesFromAnEmptyOne) {
  FakeWriter writer;
  FakeDecoder nothing({});
  ReverseLoop blank(&nothing, &writer, Range(0, 2));
  EXPECT_FALSE(blank.FoundNoPicture()) << "it is not done yet";
  RunAll(&blank);
  EXPECT_TRUE(blank.FoundNoPicture());

  FakeDecoder pictures(Video(3, 25));
  ReverseLoop empty(&pictures, &writer, Range(2, 2));
  RunAll(&empty);
  EXPECT_FALSE(empty.FoundNoPicture());
  ReverseLoop full(&pictures, &writer, Range(0, 2));
  RunAll(&full);
  EXPECT_FALSE(full.FoundNoPicture());
}

TEST(ReverseLoop, TellsARangeWhoseOnlyPictureIsUsedUp) {
  FakeWriter writer;
  FakeDecoder slow(VideoAndAudio(20, 1));
  ReverseLoop lonely(&slow, &writer, Range(10, 11, true));
  RunAll(&lonely);
  EXPECT_TRUE(lonely.FoundNoPicture());
  EXPECT_TRUE(lonely.UsedUpPicture());
  EXPECT_TRUE(lonely.HasSound());
  // From the start nothing is used up, and a seek behind all pictures meets none.
  ReverseLoop first(&slow, &writer, Range(0, 1));
  RunAll(&first);
  EXPECT_FALSE(first.UsedUpPicture());
  ReverseLoop late(&slow, &writer, Range(30, 31));
  RunAll(&late);
  EXPECT_FALSE(late.UsedUpPicture());
}

TEST(ReverseLoop, RunsWithoutAWriter) {
  FakeDecoder decoder(Video(2, 25));
  ReverseLoop loop(&decoder, nullptr, Range(0, 2));
  EXPECT_EQ(RunAll(&loop), 2);
}

// A decoder that lands too early delivers frames from before the step; they bound the next one.
class EarlyDecoder : public FakeDecoder {
 public:
  using FakeDecoder::FakeDecoder;
  int Seek(double seconds, int mode) override {
    const int result = FakeDecoder::Seek(std::max(seconds - 0.5, 0.0), mode);
    seeks.back() = seconds;
    return result;
  }
};

TEST(ReverseLoop, NeitherRepeatsNorSkipsFramesOfADecoderThatLandsEarly) {
  EarlyDecoder decoder(Video(4, 4));
  FakeWriter writer;
  ReverseLoop loop(&decoder, &writer, Range(0, 4));
  loop.Step();
  EXPECT_EQ(loop.Cursor(), 2.75) << "the picture at 2.5 was consumed";
  RunAll(&loop);
  const std::vector<int64_t> stamps = writer.Stamps(kVideoFrame);
  ASSERT_EQ(stamps.size(), 16U);
  EXPECT_TRUE(std::is_sorted(stamps.begin(), stamps.end(), std::less_equal<>()));
}

TEST(ReverseLoop, DoesNotLookForSoundThatHasEndedUpToTheEndOfEachStep) {
  std::vector<SourceFrame> frames = Video(60, 25);
  for (int n = 0; n < 8; ++n) frames.push_back({kAudioFrame, n / 4.0});
  std::stable_sort(frames.begin(), frames.end(),
                   [](const SourceFrame& a, const SourceFrame& b) { return a.pts < b.pts; });
  FakeDecoder decoder(frames);
  FakeWriter writer;
  ReverseLoop loop(&decoder, &writer, Range(0, 60, true));
  RunAll(&loop);
  EXPECT_EQ(writer.Stamps(kVideoFrame).size(), 1500U);
  EXPECT_EQ(writer.Stamps(kAudioFrame).size(), 8U);
  EXPECT_LT(decoder.delivered, 3 * 1500);
}

TEST(ReverseLoop, CrossesHoursWithoutFramesInFewSteps) {
  constexpr double kHours = 360000;
  std::vector<SourceFrame> frames = Video(1, 25);
  for (int n = 0; n < 25; ++n) frames.push_back({kVideoFrame, kHours + n / 25.0});
  FakeDecoder decoder(frames);
  FakeWriter writer;
  ReverseLoop loop(&decoder, &writer, Range(0, kHours + 1));
  RunAll(&loop);
  const std::vector<int64_t> stamps = writer.Stamps(kVideoFrame);
  EXPECT_EQ(stamps.size(), 50U);
  EXPECT_TRUE(std::is_sorted(stamps.begin(), stamps.end()));
  EXPECT_LT(decoder.seeks.size(), 100U);
}

bool operator==(const WrittenFrame& a, const WrittenFrame& b) {
  return a.type == b.type && a.stamp == b.stamp && a.first == b.first && a.second == b.second;
}

// Steps begin before the range does, and sound and pictures do not begin at the same times.
TEST(ReverseLoop, WritesTheSameFramesInTheSameOrderHoweverLittleRoomThereIs) {
  ReverseRange range = Range(0.3, 2.9);
  range.hasAudio = true;
  FakeDecoder wide(VideoAndAudio(3, 25));
  FakeWriter atOnce;
  ReverseLoop large(&wide, &atOnce, range);
  RunAll(&large);
  ASSERT_EQ(atOnce.Stamps(kVideoFrame).size(), 65U);
  for (const int pictures : {0, 1, 5, 24}) {
    range.stepBytes = pictures * int64_t{range.bufferSize};
    FakeDecoder narrow(VideoAndAudio(3, 25));
    FakeWriter inParts;
    ReverseLoop small(&narrow, &inParts, range);
    RunAll(&small);
    EXPECT_TRUE(test_support::SameItems(inParts.frames, atOnce.frames))
        << pictures << " pictures fit";
    EXPECT_GT(narrow.seeks.size(), wide.seeks.size()) << pictures << " pictures fit";
  }
}

// Counts the pictures that were given out and not yet written, a few that nobody wants among them.
class LargePictures : public FakeDecoder {
 public:
  using FakeDecoder::FakeDecoder;

  int ReceiveFrame(uint8_t* buffer, uint32_t* size, uint32_t* type, double* pts) override {
    const int result = FakeDecoder::ReceiveFrame(buffer, size, type, pts);
    if (result == 0) most = std::max<int>(most, ++out);
    return result;
  }
  int GetFrameBufferSize() override { return 64 << 20; }

  std::atomic<int> out{0};
  int most = 0;
};

class SlowWriter : public FakeWriter {
 public:
  SlowWriter(LargePictures* decoder, int awaited) : mDecoder(decoder), mAwaited(awaited) {}

  // Gives the reader the time to go too far. It stops where it has enough, at the latest at the
  // end.
  void WriteFrame(int type, uint8_t* data, uint32_t size, int64_t pts) override {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(100);
    while (std::chrono::steady_clock::now() < deadline && mDecoder->out < mAwaited) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    FakeWriter::WriteFrame(type, data, size, pts);
    --mDecoder->out;
  }

 private:
  LargePictures* const mDecoder;
  const int mAwaited;
};

TEST(ReverseLoop, ReadsLargePicturesNoFurtherAheadThanThereIsRoom) {
  constexpr int kSteps = 4;
  constexpr int kPicturesInAStep = 10;
  // One more is in hand, and one in each step is not wanted.
  const int kMost =
      kPicturesInAStep + static_cast<int>(ReverseRange().aheadBytes >> 26) + 1 + kSteps;
  LargePictures decoder(Video(kSteps, kPicturesInAStep));
  SlowWriter writer(&decoder, 2 * kPicturesInAStep);
  ReverseLoop loop(&decoder, &writer, Range(0, kSteps));
  RunAll(&loop);
  EXPECT_EQ(writer.frames.size(), size_t{kSteps * kPicturesInAStep});
  EXPECT_GT(decoder.most, kPicturesInAStep) << "it does not read ahead";
  EXPECT_LE(decoder.most, kMost);
}

TEST(ReverseLoop, WritesFramesThatShareOneTimeAndTakeTooMuchRoom) {
  FakeDecoder decoder(std::vector<SourceFrame>(1000, SourceFrame{kVideoFrame, 0}));
  FakeWriter writer;
  ReverseRange range = Range(0, 3);
  range.stepBytes = 100 * range.bufferSize;
  ReverseLoop loop(&decoder, &writer, range);
  EXPECT_LT(RunAll(&loop), 100);
  EXPECT_EQ(writer.frames.size(), 1000U);
}

}  // namespace
}  // namespace codec
