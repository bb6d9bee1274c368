// SPDX-License-Identifier: MIT
#include "codec/decoder/audio_converter.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "codec/ffmpeg/compat_channels.h"
#include "codec/ffmpeg/owned.h"

namespace codec {
namespace {

constexpr int kSamples = 64;
constexpr int kRate = 48000;

// A number that tells channel and sample, and that 16 bits hold.
int16_t Numbered(int channel, int sample) { return static_cast<int16_t>(1000 * channel + sample); }

float AsFloat(int16_t number) { return static_cast<float>(number) / 32768; }

// A frame of numbered samples of 16 bits with the opened decoder that might have given it.
class Source {
 public:
  Source(AVSampleFormat format, const SoundLayout& layout) : mFrame(av_frame_alloc()) {
    mContext.reset(avcodec_alloc_context3(nullptr));
    mContext->sample_fmt = format;
    mContext->sample_rate = kRate;
    ffmpeg::SetLayout(mContext.get(), layout.channels, layout.mask);
    mFrame->format = format;
    mFrame->sample_rate = kRate;
    mFrame->nb_samples = kSamples;
    ffmpeg::CopyLayout(mFrame.get(), mContext.get());
    EXPECT_GE(av_frame_get_buffer(mFrame.get(), 0), 0);
    for (int channel = 0; channel < layout.channels; ++channel) Fill(channel, layout.channels);
  }

  const AVCodecContext* Context() const { return mContext.get(); }
  const AVFrame* Frame() const { return mFrame.get(); }

 private:
  void Fill(int channel, int channels) {
    for (int i = 0; i < kSamples; ++i) {
      const int16_t number = Numbered(channel, i);
      const int at = i * channels + channel;
      if (mFrame->format == AV_SAMPLE_FMT_S16) {
        reinterpret_cast<int16_t*>(mFrame->data[0])[at] = number;
      } else if (mFrame->format == AV_SAMPLE_FMT_FLT) {
        reinterpret_cast<float*>(mFrame->data[0])[at] = AsFloat(number);
      } else {
        reinterpret_cast<float*>(mFrame->extended_data[channel])[i] = AsFloat(number);
      }
    }
  }

  ffmpeg::UniqueCodecContext mContext;
  ffmpeg::UniqueFrame mFrame;
};

std::vector<float> Delivered(AudioConverter* converter, const Source& source) {
  std::vector<float> samples(static_cast<size_t>(converter->MaxBlockBytes()) / sizeof(float));
  const int bytes = converter->Deliver(source.Frame(), reinterpret_cast<uint8_t*>(samples.data()));
  EXPECT_EQ(bytes, kSamples * converter->Target().channels * static_cast<int>(sizeof(float)));
  samples.resize(static_cast<size_t>(bytes < 0 ? 0 : bytes) / sizeof(float));
  return samples;
}

// No release of FFmpeg knows places for so many.
constexpr SoundLayout kWithoutPlaces = {11, 0};

const SoundLayout kLayouts[] = {{1, AV_CH_LAYOUT_MONO},         {2, AV_CH_LAYOUT_STEREO},
                                {6, AV_CH_LAYOUT_5POINT1_BACK}, {6, AV_CH_LAYOUT_5POINT1},
                                {8, AV_CH_LAYOUT_7POINT1},      kWithoutPlaces};

TEST(AudioConverter, KeepsEachChannelInItsPlaceIfTheTargetIsTheSource) {
  for (const SoundLayout& layout : kLayouts) {
    for (const AVSampleFormat format : {AV_SAMPLE_FMT_S16, AV_SAMPLE_FMT_FLT, AV_SAMPLE_FMT_FLTP}) {
      SCOPED_TRACE(testing::Message() << layout.channels << " channels, format " << format);
      const Source source(format, layout);
      EXPECT_TRUE(LayoutOf(source.Context()) == layout);
      EXPECT_TRUE(LayoutOf(source.Frame()) == layout);
      AudioConverter converter;
      converter.NormalizeMix();
      converter.DeliverWholeBlocks();
      converter.SetTarget(layout);
      ASSERT_EQ(converter.Open(source.Context()), 0);
      const std::vector<float> samples = Delivered(&converter, source);
      for (size_t i = 0; i < samples.size(); ++i) {
        const auto channels = static_cast<size_t>(layout.channels);
        const auto channel = static_cast<int>(i % channels);
        ASSERT_EQ(samples[i], AsFloat(Numbered(channel, static_cast<int>(i / channels)))) << i;
      }
    }
  }
}

TEST(AudioConverter, GivesStereoUnlessATargetIsSet) {
  EXPECT_TRUE((AudioConverter().Target() == SoundLayout{2, AV_CH_LAYOUT_STEREO}));
  const Source mono(AV_SAMPLE_FMT_S16, kLayouts[0]);
  AudioConverter converter;
  ASSERT_EQ(converter.Open(mono.Context()), 0);
  const std::vector<float> samples = Delivered(&converter, mono);
  for (size_t i = 0; i < samples.size(); ++i) {
    // FFmpeg's weight of one channel on two sides.
    const float expected = AsFloat(Numbered(0, static_cast<int>(i / 2))) * 0.70710678F;
    ASSERT_NEAR(samples[i], expected, 1e-7) << i;
  }
}

// The sound of a stream that changes in its middle stays in the places that it has.
TEST(AudioConverter, BringsOtherLayoutsToTheTarget) {
  const Source surround(AV_SAMPLE_FMT_FLTP, {6, AV_CH_LAYOUT_5POINT1_BACK});
  AudioConverter converter;
  converter.NormalizeMix();
  converter.DeliverWholeBlocks();
  ASSERT_EQ(converter.Open(surround.Context()), 0);
  converter.SetTarget({6, AV_CH_LAYOUT_5POINT1_BACK});
  EXPECT_EQ(Delivered(&converter, surround).size(), 6U * kSamples);
  const Source stereo(AV_SAMPLE_FMT_FLT, {2, AV_CH_LAYOUT_STEREO});
  const Source sides(AV_SAMPLE_FMT_FLT, {6, AV_CH_LAYOUT_5POINT1});
  const Source mono(AV_SAMPLE_FMT_S16, {1, AV_CH_LAYOUT_MONO});
  const std::vector<float> ofStereo = Delivered(&converter, stereo);
  const std::vector<float> ofSides = Delivered(&converter, sides);
  const std::vector<float> ofMono = Delivered(&converter, mono);
  constexpr int kCenter = 2;
  for (int i = 0; i < kSamples; ++i) {
    for (int channel = 0; channel < 6; ++channel) {
      const auto at = static_cast<size_t>(i * 6 + channel);
      const float number = AsFloat(Numbered(channel, i));
      EXPECT_NEAR(ofStereo[at], channel < 2 ? number : 0, 1e-6) << channel;
      EXPECT_NEAR(ofSides[at], number, 1e-6) << channel;
      EXPECT_NEAR(ofMono[at], channel == kCenter ? AsFloat(Numbered(0, i)) : 0, 1e-6) << channel;
    }
  }
}

// Nobody knows how to mix channels whose places nobody knows.
TEST(AudioConverter, DropsWhatHasNoPlaces) {
  const Source many(AV_SAMPLE_FMT_S16, kWithoutPlaces);
  AudioConverter converter;
  EXPECT_EQ(converter.Open(many.Context()), -1);
}

}  // namespace
}  // namespace codec
