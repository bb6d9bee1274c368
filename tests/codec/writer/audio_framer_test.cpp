// SPDX-License-Identifier: MIT
#include "codec/writer/audio_framer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <vector>

#include "audio/audio_process_impl.h"
#include "codec/writer/audio_timeline.h"
#include "tests/support/log_capture.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::MediaWriterImpl";
constexpr int kFrame = 100;
constexpr int64_t kDuration = 20000;

TEST(AudioTimeline, StampsFramesEvenly) {
  AudioTimeline timeline;
  timeline.SetFrameDuration(46439);
  EXPECT_EQ(timeline.Stamp(), 0);
  EXPECT_EQ(timeline.Stamp(), 46439);
  EXPECT_EQ(timeline.Stamp(), 92878);
}

TEST(AudioTimeline, NeedsSilenceOnlyBehindTheBlockStartAndBeyondASecond) {
  AudioTimeline timeline;
  timeline.SetFrameDuration(600000);
  // One frame: it starts 600 ms before the block's time, the limit is a second before it.
  EXPECT_FALSE(timeline.NeedsSilence(timeline.Arrive(1000000, 1)));
  EXPECT_TRUE(timeline.NeedsSilence(timeline.Arrive(1000001, 1)));
  // Three frames: past the limit, but not behind the block's start.
  EXPECT_FALSE(timeline.NeedsSilence(timeline.Arrive(1800000, 3)));
  EXPECT_TRUE(timeline.NeedsSilence(timeline.Arrive(1800001, 3)));
}

TEST(AudioTimeline, IsTooFarAheadBeyondASecond) {
  AudioTimeline timeline;
  timeline.SetFrameDuration(1000000);
  timeline.Stamp();
  EXPECT_FALSE(timeline.TooFarAhead(timeline.Arrive(0, 1)));
  EXPECT_TRUE(timeline.TooFarAhead(timeline.Arrive(-1, 1)));
}

TEST(AudioTimeline, BearsEveryTime) {
  AudioTimeline timeline;
  timeline.SetFrameDuration(int64_t{1} << 50);
  EXPECT_TRUE(timeline.NeedsSilence(timeline.Arrive(std::numeric_limits<int64_t>::max(), 1000)));
  EXPECT_TRUE(timeline.TooFarAhead(timeline.Arrive(std::numeric_limits<int64_t>::min(), 1000)));
}

TEST(AudioTimeline, NeverFillsGapsWithFramesOfNoLength) {
  AudioTimeline timeline;
  EXPECT_FALSE(timeline.NeedsSilence(timeline.Arrive(5000000, 1)));
}

// A process that holds whole frames which it may refuse to hand out.
class StubbornProcess : public vux::AudioProcess {
 public:
  int Init() override { return 0; }
  int SetSampleRate(int) override { return 0; }
  int SetChannels(int) override { return 0; }
  int Push(const uint8_t*, int) override { return pushResult; }
  int Pull(uint8_t*, int) override { return pullResult; }
  int Flush(uint8_t*, int) override { return flushResult; }
  int FrameCount(int) override { return 2; }

  int pushResult = 0;
  int pullResult = 0;
  int flushResult = 0;
};

// Takes all that is queued.
class EmptyingOutlet : public QueueOutlet {
 public:
  explicit EmptyingOutlet(FrameQueue* queue) : mQueue(queue) {}

  bool AwaitFewer(size_t /*frames*/) override {
    most = std::max(most, mQueue->Size());
    if (takesNothing) return false;
    while (mQueue->Pop()) ++taken;
    return true;
  }

  size_t most = 0;
  int64_t taken = 0;
  bool takesNothing = false;

 private:
  FrameQueue* const mQueue;
};

class AudioFramerTest : public testing::Test {
 protected:
  struct Frame {
    int64_t pts;
    int first;
    int last;

    friend bool operator==(const Frame& a, const Frame& b) {
      return a.pts == b.pts && a.first == b.first && a.last == b.last;
    }
  };

  void SetUp() override {
    MediaBufferPool::Instance()->Reset();
    MediaBufferPool::Instance()->SetAudioBufferSize(kFrame);
    auto process = std::make_unique<vux::AudioProcessImpl>();
    process->Init();
    framer.SetProcess(std::move(process));
    framer.SetFrame(kFrame, kDuration);
  }
  void TearDown() override { MediaBufferPool::Instance()->Reset(); }

  int Write(int bytes, int64_t pts, uint8_t value = 1) {
    const std::vector<uint8_t> block(static_cast<size_t>(bytes), value);
    return framer.Write(block.data(), static_cast<uint32_t>(bytes), pts);
  }

  // What is queued, taken out.
  std::vector<Frame> Queued() {
    std::vector<Frame> frames;
    while (const PooledBuffer buffer = queue.Pop()) {
      EXPECT_EQ(buffer->size, kFrame);
      frames.push_back({buffer->pts, buffer->Data()[0], buffer->Data()[kFrame - 1]});
    }
    return frames;
  }

  test_support::LogCapture log;
  FrameQueue queue;
  AudioFramer framer{&queue};
};

TEST_F(AudioFramerTest, CutsBlocksIntoFramesWithEvenStamps) {
  EXPECT_EQ(Write(250, 0), 0);
  EXPECT_EQ(Write(50, 1, 2), 0);
  EXPECT_EQ(Queued(), (std::vector<Frame>{{0, 1, 1}, {20000, 1, 1}, {40000, 1, 2}}));
}

TEST_F(AudioFramerTest, InsertsAboutThreeSecondsOfSilenceAfterAJump) {
  Write(kFrame, 0);
  Write(kFrame, 3000000, 5);
  const std::vector<Frame> frames = Queued();
  // Silence runs from 20 ms to where the block's frame starts, 2.98 s.
  ASSERT_EQ(frames.size(), 1U + 148U + 1U);
  for (size_t i = 0; i < frames.size(); ++i) {
    const bool silent = i > 0 && i + 1 < frames.size();
    const int value = i == 0 ? 1 : silent ? 0 : 5;
    EXPECT_EQ(frames[i], (Frame{static_cast<int64_t>(i) * kDuration, value, value})) << i;
  }
  EXPECT_EQ(log.Count(kLogDebug, kTag, "Add empty audio frame"), 148);
}

TEST_F(AudioFramerTest, KeepsFewFramesOfALongSilence) {
  EmptyingOutlet outlet(&queue);
  framer.SetOutlet(&outlet);
  Write(kFrame, int64_t{3600} * 1000000);
  while (queue.Pop()) ++outlet.taken;
  // Silence runs up to where the block's frame starts.
  EXPECT_EQ(outlet.taken, int64_t{3600} * 1000000 / kDuration);
  EXPECT_LE(outlet.most, 100U);
  EXPECT_FALSE(framer.HasLostSilence());
}

TEST_F(AudioFramerTest, EndsASilenceThatNobodyTakes) {
  EmptyingOutlet outlet(&queue);
  outlet.takesNothing = true;
  framer.SetOutlet(&outlet);
  Write(kFrame, int64_t{3600} * 1000000);
  EXPECT_LE(outlet.most, 100U);
  EXPECT_LE(queue.Size(), 101U);
  EXPECT_TRUE(framer.HasLostSilence());
}

TEST_F(AudioFramerTest, FillsNoGapOfMoreThanADay) {
  constexpr int64_t kDay = int64_t{24} * 3600 * 1000000;
  Write(kFrame, kDay + 2 * kDuration);
  EXPECT_EQ(Queued(), (std::vector<Frame>{{0, 1, 1}}));
  EXPECT_TRUE(framer.HasLostSilence());
  EXPECT_EQ(log.CountContaining(kLogError, kTag, "no silence"), 1);
}

TEST_F(AudioFramerTest, InsertsNoSilenceWithinASecond) {
  Write(kFrame, 1000000);
  EXPECT_EQ(Queued(), (std::vector<Frame>{{0, 1, 1}}));
}

TEST_F(AudioFramerTest, DropsFramesMoreThanASecondAhead) {
  // The 52nd frame would be stamped 1.02 s, more than a second past the input's time.
  Write(60 * kFrame, 0);
  EXPECT_EQ(Queued().size(), 51U);
  EXPECT_EQ(log.Count(kLogDebug, kTag, "Discard audio frame"), 9);
  Write(kFrame, 20000);
  EXPECT_EQ(Queued(), (std::vector<Frame>{{1020000, 1, 1}}));
}

TEST_F(AudioFramerTest, NeitherInsertsNorDropsWithoutSync) {
  framer.SetSync(false);
  Write(60 * kFrame, 0);
  EXPECT_EQ(Queued().size(), 60U);
  Write(kFrame, 90000000);
  EXPECT_EQ(Queued(), (std::vector<Frame>{{1200000, 1, 1}}));
}

TEST_F(AudioFramerTest, FillsTheLastFrameUpWithZeros) {
  Write(150, 0, 3);
  Queued();
  framer.Flush();
  EXPECT_EQ(log.Count(kLogDebug, kTag, "flush data:50, audio_frame_size:100"), 1);
  const PooledBuffer last = queue.Pop();
  ASSERT_NE(last, nullptr);
  EXPECT_EQ(last->pts, 20000);
  EXPECT_EQ(last->size, kFrame);
  for (int i = 0; i < kFrame; ++i) EXPECT_EQ(last->Data()[i], i < 50 ? 3 : 0) << i;
  framer.Flush();
  EXPECT_TRUE(queue.Empty());
}

TEST_F(AudioFramerTest, RefusesWhatTheProcessRefuses) {
  auto process = std::make_unique<StubbornProcess>();
  process->pushResult = -14;
  framer.SetProcess(std::move(process));
  EXPECT_EQ(Write(kFrame, 0), -1);
  EXPECT_EQ(log.Count(kLogError, kTag, "AudioProcess push frame error"), 1);
  EXPECT_TRUE(queue.Empty());
}

TEST_F(AudioFramerTest, RefusesBlocksBeyondTheRangeOfTheProcess) {
  const uint8_t byte = 0;
  EXPECT_EQ(framer.Write(&byte, 0x80000000U, 0), -1);
  EXPECT_EQ(log.Count(kLogError, kTag, "AudioProcess push frame error"), 1);
}

TEST_F(AudioFramerTest, GivesBackTheBufferOfAFrameThatCannotBePulled) {
  auto process = std::make_unique<StubbornProcess>();
  process->pullResult = -15;
  framer.SetProcess(std::move(process));
  EXPECT_EQ(Write(kFrame, 9000000), 0);
  EXPECT_EQ(log.Count(kLogError, kTag, "AudioProcess pull frame error"), 2);
  EXPECT_TRUE(queue.Empty());
  // Five buffers were made for the first frame; all are idle again, so no more are made now.
  MediaBufferPool::Instance()->SetAudioBufferSize(kFrame + 1);
  for (int i = 0; i < 5; ++i) {
    const std::unique_ptr<MediaBuffer> buffer(MediaBufferPool::Instance()->TakeAudio());
    EXPECT_EQ(buffer->Capacity(), kFrame);
  }
}

TEST_F(AudioFramerTest, ReportsAPoolWithoutRoomForAFrame) {
  MediaBufferPool::Instance()->SetAudioBufferSize(kFrame - 1);
  EXPECT_EQ(Write(kFrame, 0), 0);
  EXPECT_EQ(log.Count(kLogError, kTag, "get empty audio buffer from pool"), 1);
  EXPECT_TRUE(queue.Empty());
}

TEST_F(AudioFramerTest, WarnsWhenMoreIsLeftThanAFrame) {
  auto process = std::make_unique<StubbornProcess>();
  process->flushResult = -1;
  framer.SetProcess(std::move(process));
  framer.Flush();
  EXPECT_EQ(log.Count(kLogWarn, kTag, "too many data to flush"), 1);
  EXPECT_TRUE(queue.Empty());
}

TEST_F(AudioFramerTest, UsesNoBufferLeftByAWriterOfSmallerFrames) {
  MediaBufferPool::Instance()->SetAudioBufferSize(10);
  MediaBufferPool::Instance()->Give(MediaBufferPool::Instance()->TakeAudio());
  MediaBufferPool::Instance()->SetAudioBufferSize(kFrame);
  Write(kFrame, 5000000);
  EXPECT_EQ(Queued().back(), (Frame{4980000, 1, 1}));
}

}  // namespace
}  // namespace codec
