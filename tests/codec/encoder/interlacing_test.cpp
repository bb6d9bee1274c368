// SPDX-License-Identifier: MIT
#include "codec/encoder/interlacing.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/log.h"
#include "codec/encoder/encoder_options.h"
#include "codec/encoder/ffmpeg_encoder_impl.h"
#include "codec/ffmpeg/log_bridge.h"
#include "tests/codec/encoder/encoder_fixture.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace codec {
namespace {

using encoder_test::kEncoderTag;
using test_support::LogCapture;
using test_support::ScratchPath;

EncoderSettings Settings(const char* order, int height = 576,
                         AVPixelFormat format = AV_PIX_FMT_YUV420P) {
  EncoderSettings settings;
  settings.width = 720;
  settings.height = height;
  settings.videoPixelFormat = format;
  settings.fieldOrder = order;
  return settings;
}

TEST(EncodedFields, AreThoseOfTheSettings) {
  EXPECT_EQ(EncodedFields(Settings("tt"), "libx264"), FieldOrder::kTopFirst);
  EXPECT_EQ(EncodedFields(Settings("bb"), "libx264"), FieldOrder::kBottomFirst);
  EXPECT_EQ(EncodedFields(Settings("progressive"), "libx264"), FieldOrder::kProgressive);
  EXPECT_EQ(EncodedFields(Settings(""), "libx264"), FieldOrder::kProgressive);
}

TEST(EncodedFields, NeedTheEncoderAndRowsForBoth) {
  EXPECT_EQ(EncodedFields(Settings("tt"), "h264_nvenc"), FieldOrder::kProgressive);
  EXPECT_EQ(EncodedFields(Settings("tt", 486), "libx264"), FieldOrder::kProgressive);
  EXPECT_EQ(EncodedFields(Settings("tt", 486, AV_PIX_FMT_YUV422P), "libx264"),
            FieldOrder::kTopFirst);
}

EncoderOptions Options(const EncoderSettings& settings) {
  EncoderOptions options = DefaultEncoderOptions();
  ApplyEncoderOptions(settings, "libx264", false, &options);
  return options;
}

TEST(EncodedFields, ChangeTheOptionsOnlyIfThereAreAny) {
  for (const char* none : {"", "progressive"}) {
    const EncoderOptions options = Options(Settings(none));
    EXPECT_EQ(options.at("profile"), "baseline");
    for (const char* key : {"x264-params", "weightp", "motion-est"}) {
      EXPECT_EQ(options.count(key), 0U);
    }
  }
  EXPECT_EQ(Options(Settings("tt")).at("profile"), "main");
  EXPECT_EQ(Options(Settings("tt")).at("x264-params"), "tff=1");
  EXPECT_EQ(Options(Settings("bb")).at("x264-params"), "bff=1");
  EXPECT_EQ(Options(Settings("tt", 486)).at("profile"), "baseline");
}

// Writes ten pictures of 64x48, or of another height.
void Write(const std::string& path, const char* order, int height = encoder_test::kHeight) {
  MediaFormat format = encoder_test::VideoFormat(path);
  format.SetInt32("height", height);
  format.SetString("field-order", order);
  FFmpegEncoderImpl encoder;
  ASSERT_EQ(encoder_test::Configure(&encoder, format), 0);
  ASSERT_EQ(encoder.Open(), 0) << path;
  EXPECT_EQ(encoder_test::Feed(&encoder, 10, encoder_test::kWidth, height), 0);
  encoder.Close();
}

TEST(Interlacing, IsReadBackFromEveryContainer) {
  for (const char* extension : {".mp4", ".mov", ".mkv", ".ts", ".flv", ".avi"}) {
    for (const char* order : {"tt", "bb", "progressive"}) {
      const LogCapture log;
      const std::string path = ScratchPath("interlaced" + std::string(extension));
      Write(path, order);
      auto fields = test_support::StreamFields(path, "v");
      EXPECT_EQ(test_support::ToldFieldOrder(path), order) << path;
      const bool isWhole = std::string(order) == "progressive";
      EXPECT_EQ(fields["profile"], isWhole ? "Constrained Baseline" : "Main") << path;
      EXPECT_EQ(test_support::VideoTimes(path).size(), 10U) << path;
      EXPECT_EQ(encoder_test::Texts(log, kLogWarn), std::vector<std::string>()) << path;
    }
  }
}

// The encoder's own lines count.
TEST(Interlacing, IsKeptAtAnyPresetWithoutAWarning) {
  ffmpeg::InstallLogBridge();
  for (const char* preset : {"ultrafast", "superfast", "medium", "placebo", "9"}) {
    const LogCapture log;
    const std::string path = ScratchPath("preset.mp4");
    MediaFormat format = encoder_test::VideoFormat(path);
    format.SetString("preset", preset);
    format.SetString("field-order", "bb");
    FFmpegEncoderImpl encoder;
    ASSERT_EQ(encoder_test::Configure(&encoder, format), 0);
    ASSERT_EQ(encoder.Open(), 0) << preset;
    EXPECT_EQ(encoder_test::Feed(&encoder, 3), 0);
    encoder.Close();
    EXPECT_EQ(test_support::ToldFieldOrder(path), "bb") << preset;
    for (const test_support::LogLine& line : log.Lines()) {
      EXPECT_GT(line.level, kLogWarn) << line.text;
    }
  }
  av_log_set_callback(av_log_default_callback);
}

TEST(Interlacing, IsLeftOffWithOneWarningIfTheHeightHasNoRoomForIt) {
  const LogCapture log;
  const std::string path = ScratchPath("low.mp4");
  Write(path, "tt", 50);
  EXPECT_EQ(test_support::ToldFieldOrder(path), "progressive");
  EXPECT_EQ(encoder_test::Texts(log, kLogWarn),
            (std::vector<std::string>{"the pictures are interlaced, which the output does not say: "
                                      "their height, 50, is no multiple of 4"}));
}

TEST(Interlacing, IsLeftOffWithOneWarningByOtherEncoders) {
  const LogCapture log;
  const ffmpeg::UniqueCodecContext context(
      avcodec_alloc_context3(avcodec_find_encoder_by_name("mpeg4")));
  EXPECT_EQ(TellFields(Settings("tt"), context.get()), 0);
  EXPECT_EQ(context->flags & AV_CODEC_FLAG_INTERLACED_DCT, 0);
  EXPECT_EQ(encoder_test::Texts(log, kLogWarn),
            (std::vector<std::string>{"the pictures are interlaced, which mpeg4 does not say"}));
}

TEST(Interlacing, RefusesOtherNames) {
  const LogCapture log;
  FFmpegEncoderImpl encoder;
  MediaFormat format = encoder_test::VideoFormat(ScratchPath("refused.mp4"));
  format.SetString("field-order", "upper");
  encoder_test::Configure(&encoder, format);
  EXPECT_EQ(encoder.Open(), -1);
  EXPECT_LT(encoder.OutputError(), 0);
  EXPECT_TRUE(log.Has(kLogError, kEncoderTag, "Invalid field-order: upper"));
  encoder.Close();
}

}  // namespace
}  // namespace codec
