// SPDX-License-Identifier: MIT
#include "codec/encoder/stream_colors.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "base/log.h"
#include "codec/encoder/ffmpeg_encoder_impl.h"
#include "codec/ffmpeg/owned.h"
#include "tests/codec/encoder/encoder_fixture.h"
#include "tests/support/command.h"
#include "tests/support/log_capture.h"
#include "tests/support/media_reading.h"

namespace codec {
namespace {

using test_support::LogCapture;

using Keys = std::vector<std::pair<const char*, const char*>>;

const Keys kHdr = {{"color-range", "pc"},
                   {"color-space", "bt2020nc"},
                   {"color-primaries", "bt2020"},
                   {"color-trc", "smpte2084"},
                   {"chroma-location", "topleft"}};

MediaFormat WithKeys(MediaFormat format, const Keys& keys) {
  for (const auto& [key, value] : keys) format.SetString(key, value);
  return format;
}

TEST(StreamColors, ReachTheContextUnderTheirNames) {
  const ffmpeg::UniqueCodecContext context(avcodec_alloc_context3(nullptr));
  EncoderSettings settings;
  for (const auto& [key, value] : kHdr) settings.SetParameter(key, value);
  ASSERT_EQ(SetColors(settings, context.get()), 0);
  EXPECT_EQ(context->color_range, AVCOL_RANGE_JPEG);
  EXPECT_EQ(context->colorspace, AVCOL_SPC_BT2020_NCL);
  EXPECT_EQ(context->color_primaries, AVCOL_PRI_BT2020);
  EXPECT_EQ(context->color_trc, AVCOL_TRC_SMPTE2084);
  EXPECT_EQ(context->chroma_sample_location, AVCHROMA_LOC_TOPLEFT);
}

TEST(StreamColors, StayUntoldUnlessTheyAreSet) {
  const ffmpeg::UniqueCodecContext context(avcodec_alloc_context3(nullptr));
  ASSERT_EQ(SetColors(EncoderSettings(), context.get()), 0);
  EXPECT_EQ(context->color_range, AVCOL_RANGE_UNSPECIFIED);
  EXPECT_EQ(context->colorspace, AVCOL_SPC_UNSPECIFIED);
  EXPECT_EQ(context->color_primaries, AVCOL_PRI_UNSPECIFIED);
  EXPECT_EQ(context->color_trc, AVCOL_TRC_UNSPECIFIED);
  EXPECT_EQ(context->chroma_sample_location, AVCHROMA_LOC_UNSPECIFIED);
}

TEST(StreamColors, RefuseNamesThatFfmpegDoesNotKnow) {
  for (const auto& [key, value] : kHdr) {
    const LogCapture log;
    FFmpegEncoderImpl encoder;
    const std::string path = test_support::ScratchPath("refused.mp4");
    encoder_test::Configure(&encoder, WithKeys(encoder_test::VideoFormat(path), {{key, "mauve"}}));
    EXPECT_EQ(encoder.Open(), -1) << key;
    EXPECT_LT(encoder.OutputError(), 0) << key;
    EXPECT_TRUE(
        log.Has(kLogError, encoder_test::kEncoderTag, "Invalid " + std::string(key) + ": mauve"));
    encoder.Close();
  }
}

// Older releases do not pass the place of the chroma samples on to x264.
bool PassesChromaLocationOn() { return AV_VERSION_MAJOR(avcodec_version()) >= 59; }

TEST(StreamColors, AreReadBackFromEveryContainer) {
  const LogCapture log;
  for (const char* extension : {".mp4", ".mov", ".mkv", ".ts", ".flv", ".avi"}) {
    for (const Keys& keys : {kHdr, Keys()}) {
      const std::string path = test_support::ScratchPath("colors" + std::string(extension));
      FFmpegEncoderImpl encoder;
      encoder_test::Configure(&encoder, WithKeys(encoder_test::VideoFormat(path), keys));
      ASSERT_EQ(encoder.Open(), 0);
      EXPECT_EQ(encoder_test::Feed(&encoder, 10), 0);
      encoder.Close();
      auto fields = test_support::StreamFields(path, "v");
      const bool told = !keys.empty();
      EXPECT_EQ(fields["color_range"], told ? "pc" : "unknown") << path;
      EXPECT_EQ(fields["color_space"], told ? "bt2020nc" : "unknown") << path;
      EXPECT_EQ(fields["color_primaries"], told ? "bt2020" : "unknown") << path;
      EXPECT_EQ(fields["color_transfer"], told ? "smpte2084" : "unknown") << path;
      // What FFmpeg takes for granted if it is not told.
      EXPECT_EQ(fields["chroma_location"], told && PassesChromaLocationOn() ? "topleft" : "left")
          << path;
    }
  }
}

}  // namespace
}  // namespace codec
