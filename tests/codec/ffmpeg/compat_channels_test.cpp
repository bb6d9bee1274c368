// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <vector>

#include "codec/ffmpeg/compat_channels.h"
#include "codec/ffmpeg/compat_encoding.h"

namespace codec::ffmpeg {
namespace {

TEST(Channels, HaveFFmpegsDefaultMasks) {
  EXPECT_EQ(DefaultChannelMask(1), uint64_t{AV_CH_LAYOUT_MONO});
  EXPECT_EQ(DefaultChannelMask(2), uint64_t{AV_CH_LAYOUT_STEREO});
  EXPECT_EQ(DefaultChannelMask(6), 0x3fU);
  EXPECT_EQ(DefaultChannelMask(8), 0x63fU);
}

TEST(Channels, HaveNoMaskWhereFFmpegHasNoDefault) {
  for (const int channels : {0, -1, 9, 63}) EXPECT_EQ(DefaultChannelMask(channels), 0U);
}

TEST(Channels, OfAContextAreThoseOfTheLayoutItWasGiven) {
  const UniqueCodecContext context(avcodec_alloc_context3(nullptr));
  EXPECT_EQ(Channels(context.get()), 0);
  EXPECT_EQ(ChannelMask(context.get()), 0U);
  for (const int channels : {2, 6, 1}) {
    SetDefaultLayout(context.get(), channels);
    EXPECT_EQ(Channels(context.get()), channels);
    EXPECT_EQ(ChannelMask(context.get()), DefaultChannelMask(channels));
  }
}

TEST(Channels, KeepTheirCountWithoutADefaultLayout) {
  const UniqueCodecContext context(avcodec_alloc_context3(nullptr));
  SetDefaultLayout(context.get(), 9);
  EXPECT_EQ(Channels(context.get()), 9);
  EXPECT_EQ(ChannelMask(context.get()), 0U);
}

TEST(Channels, AreCopiedToAFrame) {
  const UniqueCodecContext context(avcodec_alloc_context3(nullptr));
  const UniqueFrame frame(av_frame_alloc());
  EXPECT_EQ(Channels(frame.get()), 0);
  EXPECT_EQ(ChannelMask(frame.get()), 0U);
  for (const int channels : {2, 9, 6}) {
    SetDefaultLayout(context.get(), channels);
    ASSERT_GE(CopyLayout(frame.get(), context.get()), 0);
    EXPECT_EQ(Channels(frame.get()), channels);
    EXPECT_EQ(ChannelMask(frame.get()), DefaultChannelMask(channels));
  }
}

TEST(Channels, HaveTheLayoutOfTheirMask) {
  const UniqueCodecContext context(avcodec_alloc_context3(nullptr));
  SetLayout(context.get(), 6, AV_CH_LAYOUT_5POINT1);
  EXPECT_EQ(Channels(context.get()), 6);
  EXPECT_EQ(ChannelMask(context.get()), uint64_t{AV_CH_LAYOUT_5POINT1});
  // A mask that names another number does not count.
  for (const uint64_t mask : {uint64_t{0}, uint64_t{AV_CH_LAYOUT_STEREO}}) {
    SetLayout(context.get(), 6, mask);
    EXPECT_EQ(ChannelMask(context.get()), DefaultChannelMask(6));
  }
}

TEST(Channels, OfUnknownPlacesHaveAMaskOfTheirNumber) {
  EXPECT_EQ(AnyChannelMask(1), 1U);
  EXPECT_EQ(AnyChannelMask(12), 0xfffU);
  EXPECT_EQ(AnyChannelMask(0), 0U);
  EXPECT_EQ(AnyChannelMask(64), 0U);
}

TEST(Channels, HaveNames) {
  EXPECT_EQ(LayoutName(6, AV_CH_LAYOUT_5POINT1), "5.1(side)");
  EXPECT_EQ(LayoutName(12, 0), "12 channels");
}

TEST(Channels, AreListedByEncodersThatDoNotTakeAll) {
  const std::vector<uint64_t> masks = ChannelMasks(avcodec_find_encoder_by_name("mp2"));
  EXPECT_EQ(masks, (std::vector<uint64_t>{AV_CH_LAYOUT_MONO, AV_CH_LAYOUT_STEREO}));
  EXPECT_TRUE(ChannelMasks(avcodec_find_encoder_by_name("pcm_s16le")).empty());
}

TEST(NewResampler, ConvertsBetweenLayoutsAndFormats) {
  const UniqueResampler resampler = NewResampler(AV_CH_LAYOUT_STEREO, AV_SAMPLE_FMT_FLT,
                                                 AV_CH_LAYOUT_MONO, AV_SAMPLE_FMT_S16P, 48000);
  ASSERT_NE(resampler, nullptr);
  ASSERT_GE(swr_init(resampler.get()), 0);
  const std::vector<int16_t> in = {0, 16384, -32768};
  std::vector<float> out(6, 9);
  const auto* source = reinterpret_cast<const uint8_t*>(in.data());
  auto* target = reinterpret_cast<uint8_t*>(out.data());
  ASSERT_EQ(swr_convert(resampler.get(), &target, 3, &source, 3), 3);
  // Both sides carry the one channel at one level.
  EXPECT_EQ(out[0], 0);
  EXPECT_GT(out[2], 0.3F);
  EXPECT_NEAR(out[4], -2 * out[2], 1e-4);
  for (size_t i = 0; i < out.size(); i += 2) EXPECT_EQ(out[i], out[i + 1]);
}

TEST(NewResampler, ServesNoLayoutByNoWorkingConverter) {
  const UniqueResampler resampler =
      NewResampler(AV_CH_LAYOUT_STEREO, AV_SAMPLE_FMT_FLT, 0, AV_SAMPLE_FMT_S16, 48000);
  // Some releases refuse the mask at once, some when the converter is initialised.
  EXPECT_TRUE(resampler == nullptr || swr_init(resampler.get()) < 0);
}

}  // namespace
}  // namespace codec::ffmpeg
