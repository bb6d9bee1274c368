// SPDX-License-Identifier: MIT
#include "codec/decoder/sound_cut.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "codec/ffmpeg/compat_channels.h"
#include "codec/ffmpeg/compat_decoding.h"

namespace codec {
namespace {

constexpr int kRate = 1000;
constexpr AVRational kTicks = {1, 100};

class SoundCutTest : public testing::Test {
 protected:
  void SetUp() override {
    mContext.reset(avcodec_alloc_context3(nullptr));
    mContext->sample_rate = kRate;
    mContext->sample_fmt = AV_SAMPLE_FMT_FLT;
    ffmpeg::SetDefaultLayout(mContext.get(), 2);
    ASSERT_EQ(mConverter.Open(mContext.get()), 0);
    mConverter.DeliverWholeBlocks();
  }

  SoundCut Cut(double from, double to, double zero = 0, double first = 0) {
    return SoundCut({from, to}, kTicks, zero, first, &mConverter, &mStretch);
  }

  // A frame whose samples are its number.
  const AVFrame* Frame(int64_t stamp, int samples, float number) {
    mFrame.reset(av_frame_alloc());
    mFrame->format = AV_SAMPLE_FMT_FLT;
    mFrame->nb_samples = samples;
    mFrame->sample_rate = kRate;
    mFrame->best_effort_timestamp = stamp;
    ffmpeg::CopyLayout(mFrame.get(), mContext.get());
    av_frame_get_buffer(mFrame.get(), 0);
    auto* const data = reinterpret_cast<float*>(mFrame->data[0]);
    std::fill(data, data + samples * 2, number);
    return mFrame.get();
  }

  ffmpeg::UniqueCodecContext mContext;
  ffmpeg::UniqueFrame mFrame;
  AudioConverter mConverter;
  SoundStretch mStretch;
};

TEST_F(SoundCutTest, KeepsTheFramesThatReachIntoTheRange) {
  SoundCut cut = Cut(1, 2);
  for (int i = 0; i < 6; ++i) cut.Take(Frame(i * 50, 500, static_cast<float>(i)));
  ASSERT_EQ(mStretch.blocks.size(), 2U);
  EXPECT_EQ(mStretch.blocks[0].time, 1);
  EXPECT_EQ(mStretch.blocks[1].time, 1.5);
  EXPECT_EQ(mStretch.blocks[1].samples, 500);
  EXPECT_EQ(mStretch.samples.size(), 2000U);
  EXPECT_EQ(mStretch.Of(mStretch.blocks[0])[999], 2);
  EXPECT_EQ(mStretch.Of(mStretch.blocks[1])[0], 3);
  EXPECT_EQ(cut.EndBefore(), 1);
  EXPECT_EQ(cut.StartAfter(), 2);
}

TEST_F(SoundCutTest, LetsFramesWithoutAStampFollowTheOneBefore) {
  SoundCut cut = Cut(0, 10, 1.0, 0.25);
  cut.Take(Frame(AV_NOPTS_VALUE, 500, 1));
  cut.Pass(Frame(300, 100, 2));
  cut.Take(Frame(AV_NOPTS_VALUE, 100, 3));
  cut.Take(Frame(AV_NOPTS_VALUE, 100, 4));
  ASSERT_EQ(mStretch.blocks.size(), 3U);
  EXPECT_EQ(mStretch.blocks[0].time, 0.25);
  EXPECT_DOUBLE_EQ(mStretch.blocks[1].time, 2.1);
  EXPECT_DOUBLE_EQ(mStretch.blocks[2].time, 2.2);
}

TEST_F(SoundCutTest, SaysWhichBlocksAreTheFirstAndTheLastOfTheStream) {
  SoundCut cut = Cut(0, 1);
  cut.BeginStream();
  cut.Take(Frame(0, 100, 1));
  cut.Take(Frame(10, 100, 2));
  cut.EndStream();
  ASSERT_EQ(mStretch.blocks.size(), 2U);
  EXPECT_TRUE(mStretch.blocks[0].begins);
  EXPECT_FALSE(mStretch.blocks[0].ends);
  EXPECT_FALSE(mStretch.blocks[1].begins);
  EXPECT_TRUE(mStretch.blocks[1].ends);
}

TEST_F(SoundCutTest, TakesNoOtherBlockForTheFirstOrTheLast) {
  SoundCut cut = Cut(0.1, 0.2);
  cut.BeginStream();
  for (int i = 0; i < 3; ++i) cut.Take(Frame(i * 10, 100, 1));
  cut.EndStream();
  ASSERT_EQ(mStretch.blocks.size(), 1U);
  EXPECT_FALSE(mStretch.blocks[0].begins);
  EXPECT_FALSE(mStretch.blocks[0].ends);
}

// Of three frames one has a stamp in the file. The others are counted as if they were longer or
// shorter.
TEST_F(SoundCutTest, PutsFramesOfAMiscountedRateEndToEnd) {
  for (const int counted : {500, 2000}) {
    mConverter.AdaptChangesFrom(Frame(0, 100, 1));
    mStretch.Clear();
    SoundCut cut = Cut(-1, 10);
    cut.CorrectCounted();
    for (int i = 0; i < 9; ++i) {
      const int counts = i % 3 * 10 * kRate / counted;
      Frame(20 + i / 3 * 30 + counts, 100, 1);
      ffmpeg::SetDuration(mFrame.get(), 10 * kRate / counted);
      cut.Take(mFrame.get());
    }
    ASSERT_EQ(mStretch.blocks.size(), 9U);
    for (size_t i = 0; i < 9; ++i) {
      EXPECT_NEAR(mStretch.blocks[i].time, 0.2 + 0.1 * static_cast<double>(i), 1e-9) << counted;
    }
    // A later place is believed.
    cut.Take(Frame(300, 100, 1));
    EXPECT_EQ(mStretch.blocks.back().time, 3);
  }
}

TEST_F(SoundCutTest, LeavesOutWhatCannotBeConverted) {
  SoundCut cut = Cut(0, 1);
  Frame(0, 100, 1);
  mFrame->sample_rate = 2 * kRate;
  cut.Take(mFrame.get());
  cut.Take(Frame(AV_NOPTS_VALUE, 100, 2));
  ASSERT_EQ(mStretch.blocks.size(), 1U);
  EXPECT_DOUBLE_EQ(mStretch.blocks[0].time, 0.05);
  EXPECT_EQ(mStretch.samples.size(), 200U);
  EXPECT_EQ(mStretch.samples[0], 2);
  ASSERT_EQ(mStretch.lost.size(), 1U);
  EXPECT_DOUBLE_EQ(mStretch.lost[0].time, 0);
  EXPECT_DOUBLE_EQ(mStretch.lost[0].seconds, 0.05);
}

}  // namespace
}  // namespace codec
