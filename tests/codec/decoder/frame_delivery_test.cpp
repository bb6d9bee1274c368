// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numeric>
#include <utility>
#include <vector>

#include "codec/decoder/audio_converter.h"
#include "codec/decoder/picture_copy.h"
#include "codec/ffmpeg/compat_channels.h"
#include "tests/codec/decoder/decoder_reading.h"
#include "tests/support/log_capture.h"

namespace codec {
namespace {

using test_support::LogCapture;

ffmpeg::UniqueFrame MakePicture(AVPixelFormat format, int width, int height) {
  ffmpeg::UniqueFrame frame(av_frame_alloc());
  frame->format = format;
  frame->width = width;
  frame->height = height;
  EXPECT_GE(av_frame_get_buffer(frame.get(), 64), 0);
  return frame;
}

TEST(PictureCopy, PacksPlanesOfOddSize) {
  constexpr int kWidth = 321;
  constexpr int kHeight = 241;
  const auto frame = MakePicture(AV_PIX_FMT_YUV420P, kWidth, kHeight);
  std::vector<uint8_t> expected;
  for (int plane = 0; plane < 3; ++plane) {
    const int width = plane == 0 ? kWidth : 161;
    const int height = plane == 0 ? kHeight : 121;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const auto value = static_cast<uint8_t>(plane * 50 + x * 7 + y * 3);
        frame->data[plane][y * frame->linesize[plane] + x] = value;
        expected.push_back(value);
      }
    }
  }
  PictureCopy copy;
  ASSERT_EQ(copy.Open(AV_PIX_FMT_YUV420P, kWidth, kHeight), 0);
  ASSERT_EQ(copy.Size(), static_cast<int>(expected.size()));
  std::vector<uint8_t> packed(expected.size());
  EXPECT_EQ(copy.Copy(frame.get(), packed.data()), copy.Size());
  EXPECT_EQ(packed, expected);
}

TEST(PictureCopy, WarnsOnceForARunOfPicturesThatDoNotFit) {
  PictureCopy copy;
  ASSERT_EQ(copy.Open(AV_PIX_FMT_YUV420P, 64, 48), 0);
  std::vector<uint8_t> packed(static_cast<size_t>(copy.Size()), 9);
  const auto fitting = MakePicture(AV_PIX_FMT_YUV420P, 64, 48);
  const auto larger = MakePicture(AV_PIX_FMT_YUV420P, 64, 50);
  const auto deeper = MakePicture(AV_PIX_FMT_YUV444P, 64, 48);
  const LogCapture log;
  EXPECT_EQ(copy.Copy(larger.get(), packed.data()), 0);
  EXPECT_EQ(copy.Copy(deeper.get(), packed.data()), 0);
  EXPECT_EQ(packed, std::vector<uint8_t>(packed.size(), 9));
  EXPECT_EQ(log.Lines().size(), 1U);
  EXPECT_EQ(log.Count(kLogWarn, kDecoderTestTag,
                      "picture is 64x50 yuv420p instead of 64x48 yuv420p, dropped"),
            1);
  EXPECT_GT(copy.Copy(fitting.get(), packed.data()), 0);
  EXPECT_EQ(copy.Copy(deeper.get(), packed.data()), 0);
  EXPECT_EQ(log.Lines().size(), 2U);
}

// One color everywhere, so that it is known what comes of it.
TEST(PictureCopy, ScalesAndConvertsOtherPicturesWithOneWarningIfAskedTo) {
  PictureCopy copy;
  copy.AdaptChanges();
  ASSERT_EQ(copy.OpenEven(AV_PIX_FMT_YUV420P, 65, 49), 0);
  ASSERT_EQ(copy.Size(), 64 * 48 * 3 / 2);
  const LogCapture log;
  for (const auto& [format, width] :
       {std::pair{AV_PIX_FMT_YUV420P, 320}, {AV_PIX_FMT_YUV444P, 65}, {AV_PIX_FMT_YUV422P, 30}}) {
    const auto frame = MakePicture(format, width, 50);
    for (int plane = 0; plane < 3; ++plane) {
      std::fill_n(frame->data[plane],
                  frame->linesize[plane] * (format == AV_PIX_FMT_YUV420P && plane > 0 ? 25 : 50),
                  static_cast<uint8_t>(90 + 10 * plane));
    }
    std::vector<uint8_t> packed(static_cast<size_t>(copy.Size()) + 1, 7);
    ASSERT_EQ(copy.Copy(frame.get(), packed.data()), copy.Size());
    for (size_t i = 0; i < 64 * 48; ++i) ASSERT_NEAR(packed[i], 90, 1) << i;
    for (size_t i = 64 * 48; i < 64 * 48 * 5 / 4; ++i) ASSERT_NEAR(packed[i], 100, 1) << i;
    for (size_t i = 64 * 48 * 5 / 4; i < 64 * 48 * 3 / 2; ++i) ASSERT_NEAR(packed[i], 110, 1) << i;
    EXPECT_EQ(packed.back(), 7);
  }
  ASSERT_EQ(log.Lines().size(), 1U);
  EXPECT_EQ(log.Lines()[0].text,
            "picture is 320x50 yuv420p instead of 65x49 yuv420p, such pictures are scaled");
}

TEST(PictureCopy, TakesFullRangeForOrdinaryPlanes) {
  PictureCopy copy;
  ASSERT_EQ(copy.Open(AV_PIX_FMT_YUVJ420P, 64, 48), 0);
  std::vector<uint8_t> packed(static_cast<size_t>(copy.Size()));
  const auto frame = MakePicture(AV_PIX_FMT_YUV420P, 64, 48);
  EXPECT_EQ(copy.Copy(frame.get(), packed.data()), copy.Size());
}

TEST(PictureCopy, RefusesSizesThatNoBufferCanHold) {
  PictureCopy copy;
  EXPECT_EQ(copy.Open(AV_PIX_FMT_YUV420P, 0, 48), -1);
  EXPECT_EQ(copy.Open(AV_PIX_FMT_YUV420P, 1 << 20, 1 << 20), -1);
  EXPECT_EQ(copy.Open(AV_PIX_FMT_NONE, 64, 48), -1);
  EXPECT_EQ(copy.Size(), 0);
}

ffmpeg::UniqueCodecContext Announce(AVSampleFormat format, int channels, int rate) {
  ffmpeg::UniqueCodecContext context(avcodec_alloc_context3(nullptr));
  context->sample_fmt = format;
  context->sample_rate = rate;
  if (channels > 0) ffmpeg::SetDefaultLayout(context.get(), channels);
  return context;
}

ffmpeg::UniqueFrame MakeSound(AVSampleFormat format, int channels, int rate, int samples) {
  ffmpeg::UniqueFrame frame(av_frame_alloc());
  frame->format = format;
  frame->sample_rate = rate;
  frame->nb_samples = samples;
  const auto layout = Announce(format, channels, rate);
  EXPECT_GE(ffmpeg::CopyLayout(frame.get(), layout.get()), 0);
  EXPECT_GE(av_frame_get_buffer(frame.get(), 0), 0);
  const int planes = av_sample_fmt_is_planar(format) != 0 ? channels : 1;
  for (int plane = 0; plane < planes; ++plane) {
    const int bytes = samples * av_get_bytes_per_sample(format) * channels / planes;
    std::fill_n(frame->extended_data[plane], bytes, uint8_t{0});
  }
  return frame;
}

float* Floats(ffmpeg::UniqueFrame& frame, int plane) {
  return reinterpret_cast<float*>(frame->extended_data[plane]);
}

class SoundDelivery : public ::testing::Test {
 protected:
  int Open(AVSampleFormat format, int channels, int rate) {
    const int result = mConverter.Open(Announce(format, channels, rate).get());
    mBlock.reset(new float[static_cast<size_t>(mConverter.MaxBlockBytes()) / 4 + 1]);
    return result;
  }
  int Deliver(const ffmpeg::UniqueFrame& frame) {
    return mConverter.Deliver(frame.get(), reinterpret_cast<uint8_t*>(mBlock.get()));
  }

  AudioConverter mConverter;
  std::unique_ptr<float[]> mBlock;
};

TEST_F(SoundDelivery, DeliversTheFirstHalfOfPackedStereoFloat) {
  const LogCapture log;
  ASSERT_EQ(Open(AV_SAMPLE_FMT_FLT, 2, 48000), 0);
  EXPECT_FALSE(mConverter.IsConverting());
  EXPECT_EQ(mConverter.DeliveredFormat(), AV_SAMPLE_FMT_FLT);
  EXPECT_TRUE(log.Lines().empty());
  auto frame = MakeSound(AV_SAMPLE_FMT_FLT, 2, 48000, 100);
  std::iota(Floats(frame, 0), Floats(frame, 0) + 200, 1.0F);
  mBlock[100] = -7;
  EXPECT_EQ(Deliver(frame), 100 * 4);
  for (int i = 0; i < 100; ++i)
    EXPECT_EQ(mBlock[static_cast<size_t>(i)], static_cast<float>(i + 1));
  EXPECT_EQ(mBlock[100], -7);
  EXPECT_EQ(mConverter.ConvertedSeconds(), 0);
}

TEST_F(SoundDelivery, InterleavesPlanarStereo) {
  const LogCapture log;
  ASSERT_EQ(Open(AV_SAMPLE_FMT_FLTP, 2, 48000), 0);
  EXPECT_TRUE(
      log.Has(kLogDebug, kDecoderTestTag, "audio sample format is fltp, convert it to flt "));
  auto frame = MakeSound(AV_SAMPLE_FMT_FLTP, 2, 48000, 480);
  Floats(frame, 0)[3] = 0.25F;
  Floats(frame, 1)[3] = -0.5F;
  EXPECT_EQ(Deliver(frame), 480 * 2 * 4);
  EXPECT_EQ(mBlock[6], 0.25F);
  EXPECT_EQ(mBlock[7], -0.5F);
  EXPECT_DOUBLE_EQ(mConverter.ConvertedSeconds(), 0.01);
}

TEST_F(SoundDelivery, RebuildsTheConverterWhenTheFormChanges) {
  ASSERT_EQ(Open(AV_SAMPLE_FMT_FLTP, 1, 48000), 0);
  EXPECT_EQ(Deliver(MakeSound(AV_SAMPLE_FMT_FLTP, 1, 48000, 64)), 64 * 8);
  auto stereo = MakeSound(AV_SAMPLE_FMT_FLTP, 2, 48000, 64);
  Floats(stereo, 1)[5] = 0.75F;
  EXPECT_EQ(Deliver(stereo), 64 * 8);
  EXPECT_EQ(mBlock[10], 0.0F);
  EXPECT_EQ(mBlock[11], 0.75F);
  EXPECT_EQ(Deliver(MakeSound(AV_SAMPLE_FMT_S16, 6, 48000, 64)), 64 * 8);
  EXPECT_EQ(Deliver(MakeSound(AV_SAMPLE_FMT_FLT, 2, 48000, 64)), 64 * 4);
  EXPECT_FALSE(mConverter.IsConverting());
}

// Each channel as loud as it can be, in turn with one sign and with both.
TEST_F(SoundDelivery, MixesSurroundNotBeyondFullScaleIfAskedTo) {
  for (const bool normalizes : {false, true}) {
    AudioConverter converter;
    if (normalizes) converter.NormalizeMix();
    ASSERT_EQ(converter.Open(Announce(AV_SAMPLE_FMT_FLTP, 6, 48000).get()), 0);
    auto frame = MakeSound(AV_SAMPLE_FMT_FLTP, 6, 48000, 64);
    for (int channel = 0; channel < 6; ++channel) Floats(frame, channel)[0] = 1;
    for (int channel = 0; channel < 6; ++channel) Floats(frame, channel)[1] = -1;
    Floats(frame, 0)[2] = 0.5F;
    std::vector<float> block(128);
    ASSERT_EQ(converter.Deliver(frame.get(), reinterpret_cast<uint8_t*>(block.data())), 64 * 8);
    // Front, center and back of a side; the subwoofer is left out.
    const float sum = 1 + 2 * static_cast<float>(std::sqrt(0.5));
    const float scale = normalizes ? 1 / sum : 1;
    EXPECT_NEAR(block[0], sum * scale, 1e-5F);
    EXPECT_NEAR(block[1], sum * scale, 1e-5F);
    EXPECT_NEAR(block[2], -sum * scale, 1e-5F);
    EXPECT_NEAR(block[4], 0.5F * scale, 1e-5F);
    EXPECT_NEAR(block[5], 0, 1e-5F);
  }
}

TEST_F(SoundDelivery, LeavesStereoAndMonoAsLoudAsTheyAreIfMixesAreNormalized) {
  AudioConverter converter;
  converter.NormalizeMix();
  for (const int channels : {1, 2}) {
    ASSERT_EQ(converter.Open(Announce(AV_SAMPLE_FMT_S16P, channels, 48000).get()), 0);
    auto frame = MakeSound(AV_SAMPLE_FMT_S16P, channels, 48000, 64);
    for (int channel = 0; channel < channels; ++channel) {
      reinterpret_cast<int16_t*>(frame->extended_data[channel])[0] = 16384;
    }
    ASSERT_EQ(Open(AV_SAMPLE_FMT_S16P, channels, 48000), 0);
    ASSERT_EQ(Deliver(frame), 64 * 8);
    std::vector<float> block(128);
    ASSERT_EQ(converter.Deliver(frame.get(), reinterpret_cast<uint8_t*>(block.data())), 64 * 8);
    EXPECT_EQ(block[0], mBlock[0]);
    EXPECT_GT(block[0], 0.3F);
  }
}

TEST_F(SoundDelivery, DropsAnotherSampleRateWithOneWarningARun) {
  ASSERT_EQ(Open(AV_SAMPLE_FMT_FLTP, 2, 48000), 0);
  const LogCapture log;
  EXPECT_EQ(Deliver(MakeSound(AV_SAMPLE_FMT_FLTP, 2, 44100, 64)), -1);
  EXPECT_EQ(Deliver(MakeSound(AV_SAMPLE_FMT_FLTP, 2, 44100, 64)), -1);
  EXPECT_EQ(log.Count(kLogWarn, kDecoderTestTag, "audio frame has another sample rate, dropped"),
            1);
  EXPECT_EQ(Deliver(MakeSound(AV_SAMPLE_FMT_FLTP, 2, 48000, 64)), 64 * 8);
  EXPECT_EQ(Deliver(MakeSound(AV_SAMPLE_FMT_FLTP, 2, 44100, 64)), -1);
  EXPECT_EQ(log.Count(kLogWarn, kDecoderTestTag, "audio frame has another sample rate, dropped"),
            2);
}

// The samples of a frame are its own, whatever its rate; only what follows from the rate changes.
TEST_F(SoundDelivery, DeliversOtherRatesAndChannelsWithOneWarningIfAskedTo) {
  ASSERT_EQ(Open(AV_SAMPLE_FMT_FLTP, 2, 24000), 0);
  mConverter.AdaptChangesFrom(MakeSound(AV_SAMPLE_FMT_FLTP, 2, 48000, 64).get());
  const LogCapture log;
  EXPECT_EQ(Deliver(MakeSound(AV_SAMPLE_FMT_FLTP, 2, 48000, 48)), 48 * 8);
  EXPECT_DOUBLE_EQ(mConverter.ConvertedSeconds(), 0.001);
  EXPECT_TRUE(log.Lines().empty());
  auto other = MakeSound(AV_SAMPLE_FMT_FLTP, 2, 44100, 441);
  Floats(other, 0)[440] = 0.25F;
  Floats(other, 1)[440] = -0.5F;
  EXPECT_EQ(Deliver(other), 441 * 8);
  EXPECT_EQ(mBlock[880], 0.25F);
  EXPECT_EQ(mBlock[881], -0.5F);
  EXPECT_DOUBLE_EQ(mConverter.ConvertedSeconds(), 0.011);
  EXPECT_EQ(Deliver(MakeSound(AV_SAMPLE_FMT_S16, 6, 48000, 64)), 64 * 8);
  EXPECT_EQ(Deliver(MakeSound(AV_SAMPLE_FMT_FLTP, 2, 0, 64)), -1);
  EXPECT_EQ(log.CountContaining(kLogWarn, kDecoderTestTag, "such sound is converted"), 1);
  EXPECT_EQ(log.Count(kLogWarn, kDecoderTestTag,
                      "sound is 44100 Hz with 2 channels instead of 48000 Hz with 2, such sound is "
                      "converted"),
            1);
}

TEST_F(SoundDelivery, DropsABlockLargerThanTheRoom) {
  ASSERT_EQ(Open(AV_SAMPLE_FMT_U8, 1, 48000), 0);
  EXPECT_EQ(mConverter.MaxBlockBytes(), 131072 * 8);
  EXPECT_EQ(Deliver(MakeSound(AV_SAMPLE_FMT_U8, 1, 48000, 131072)), 131072 * 8);
  const LogCapture log;
  EXPECT_EQ(Deliver(MakeSound(AV_SAMPLE_FMT_U8, 1, 48000, 131073)), -1);
  EXPECT_TRUE(log.Has(kLogWarn, kDecoderTestTag, "audio frame is too long, dropped"));
}

TEST_F(SoundDelivery, GivesRoomForASecondWithinReason) {
  ASSERT_EQ(Open(AV_SAMPLE_FMT_FLTP, 2, 192000), 0);
  EXPECT_EQ(mConverter.MaxBlockBytes(), 192000 * 8);
  AudioConverter absurd;
  ASSERT_EQ(absurd.Open(Announce(AV_SAMPLE_FMT_FLT, 2, 2000000000).get()), 0);
  EXPECT_EQ(absurd.MaxBlockBytes(), (1 << 22) * 8);
}

TEST_F(SoundDelivery, RefusesAChannelCountWithoutALayout) {
  const LogCapture log;
  EXPECT_EQ(mConverter.Open(Announce(AV_SAMPLE_FMT_FLTP, 0, 48000).get()), -1);
  EXPECT_EQ(mConverter.Open(Announce(AV_SAMPLE_FMT_FLTP, 2, 0).get()), -1);
  EXPECT_EQ(log.CountContaining(kLogError, kDecoderTestTag, "Could not convert audio"), 2);
  EXPECT_EQ(mConverter.MaxBlockBytes(), 0);
}

}  // namespace
}  // namespace codec
