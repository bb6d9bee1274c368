// SPDX-License-Identifier: MIT
#include "codec/encoder/encoder_choice.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "codec/encoder/own_options.h"
#include "codec/ffmpeg/owned.h"

namespace codec {
namespace {

using Keys = std::vector<std::pair<const char*, const char*>>;

EncoderSettings Settings(const Keys& keys) {
  EncoderSettings settings;
  settings.takesAnyEncoder = true;
  settings.hasAudio = true;
  settings.videoCodec = "libx264";
  settings.audioCodec = "aac";
  for (const auto& [key, value] : keys) settings.SetParameter(key, value);
  return settings;
}

TEST(EncoderChoice, LeavesTheUsualEncodersTheirWay) {
  EXPECT_FALSE(DelaysVideo(Settings({})));
  EXPECT_FALSE(
      DelaysVideo(Settings({{"preset", "fast"}, {"video-bitrate", "0"}, {"profile", ""}})));
  EXPECT_FALSE(DelaysAudio(Settings({{"audio-bit-rate", "96000"}})));
  for (const char* const name : {"h264_nvenc", "h264_qsv", "vomx2", "h264_mediacodec", "none"}) {
    EXPECT_FALSE(DelaysVideo(Settings({{"video-codec", name}}))) << name;
  }
}

TEST(EncoderChoice, DrivesAllOthersAsThemselves) {
  EXPECT_TRUE(DelaysVideo(Settings({{"video-codec", "libx265"}})));
  EXPECT_TRUE(DelaysVideo(Settings({{"video-codec", "ffv1"}})));
  EXPECT_TRUE(DelaysAudio(Settings({{"audio-codec", "flac"}})));
  EXPECT_TRUE(DelaysAudio(Settings({{"audio-opt:aac_coder", "fast"}})));
  for (const char* const key : {"crf", "qp", "profile", "level", "video-opt:bf"}) {
    EXPECT_TRUE(DelaysVideo(Settings({{key, "1"}}))) << key;
  }
}

TEST(EncoderChoice, DrivesNoneUnlessItIsAllowed) {
  EXPECT_FALSE(DelaysVideo(Settings({{"any-encoder", "0"}, {"video-codec", "libx265"}})));
  EXPECT_FALSE(DelaysAudio(Settings({{"any-encoder", "0"}, {"audio-codec", "flac"}})));
  EXPECT_EQ(WhyNotEncoded(Settings({{"any-encoder", "0"}, {"video-codec", "nobody"}})), "");
  EXPECT_EQ(WhyNotEncoded(Settings({{"any-encoder", "0"}, {"output-color-format", "none"}})), "");
}

TEST(EncoderChoice, SaysWhatStandsAgainstTheSettings) {
  const std::vector<std::pair<Keys, const char*>> cases = {
      {{{"video-codec", "nobody"}}, "FFmpeg has no encoder nobody"},
      {{{"video-codec", "aac"}}, "aac is no video encoder"},
      {{{"output-color-format", "yuv42p"}}, "FFmpeg has no pixel format yuv42p"},
      {{{"output-color-format", "yuv422p"}}, ""},
      {{{"audio-codec", "mpeg4"}}, "mpeg4 is no audio encoder"},
      {{{"video-codec", "mpeg4"}, {"crf", "20"}},
       "mpeg4 has no crf; set qp, video-bitrate, or an option of its own"},
      {{{"video-opt:nothing", "1"}}, "libx264 has no option nothing"},
      {{{"crf", "good"}}, "libx264 does not take good for its option crf"},
      {{{"video-codec", "mpeg4"}, {"qp", "fine"}}, "mpeg4 does not take fine for its option q"},
      {{{"audio-opt:aac_coder", "best"}}, "aac does not take best for its option aac_coder"},
      {{{"audio-codec", "flac"}, {"audio-opt:crf", "1"}}, "flac has no option crf"},
      {{{"crf", "20"}, {"video-opt:bf", "3"}, {"audio-opt:aac_coder", "fast"}}, ""},
  };
  for (const auto& [keys, why] : cases) EXPECT_EQ(WhyNotEncoded(Settings(keys)), why);
}

TEST(OwnOptions, GivesAnEncoderAQualityUnlessOneIsAskedFor) {
  const AVCodec* const mpeg4 = avcodec_find_encoder_by_name("mpeg4");
  EXPECT_EQ(OwnVideoOptions(Settings({}), mpeg4, 8).at("q"), "3");
  EXPECT_EQ(OwnVideoOptions(Settings({{"qp", "9"}}), mpeg4, 8).at("q"), "9");
  const EncoderOptions byRate = OwnVideoOptions(Settings({{"video-bitrate", "5000"}}), mpeg4, 8);
  EXPECT_EQ(byRate.at("b"), "5000");
  EXPECT_EQ(byRate.count("q"), 0U);
}

TEST(OwnOptions, ABitRateOfFfmpegsDoesNotStandAgainstCrf) {
  const AVCodec* const x264 = avcodec_find_encoder_by_name("libx264");
  EXPECT_EQ(OwnVideoOptions(Settings({{"crf", "20"}}), x264, 8).at("b"), "0");
  EXPECT_EQ(OwnVideoOptions(Settings({{"video-bitrate", "7000"}}), x264, 8).at("b"), "7000");
}

TEST(OwnOptions, AskedForParametersFollowTheUsualOnes) {
  const AVCodec* const x265 = avcodec_find_encoder_by_name("libx265");
  if (x265 == nullptr) GTEST_SKIP() << "this FFmpeg has no libx265";
  const EncoderSettings asked = Settings({{"video-opt:x265-params", "log-level=full:psy-rd=1"}});
  EXPECT_EQ(OwnVideoOptions(asked, x265, 8).at("x265-params"),
            "log-level=error:log-level=full:psy-rd=1");
}

TEST(OwnOptions, FitsTheProfileToTheDepth) {
  const AVCodec* const dnxhd = avcodec_find_encoder_by_name("dnxhd");
  EXPECT_EQ(OwnVideoOptions(Settings({}), dnxhd, 8).at("profile"), "dnxhr_hq");
  EXPECT_EQ(OwnVideoOptions(Settings({}), dnxhd, 10).at("profile"), "dnxhr_hqx");
}

TEST(OwnOptions, GeneralQualityReachesTheContext) {
  const AVCodec* const mpeg4 = avcodec_find_encoder_by_name("mpeg4");
  const ffmpeg::UniqueCodecContext context(avcodec_alloc_context3(mpeg4));
  EXPECT_EQ(SetOwnOptions(context.get(), {{"q", "4"}, {"bf", "2"}}), "");
  EXPECT_EQ(context->global_quality, 4 * FF_QP2LAMBDA);
  EXPECT_NE(context->flags & AV_CODEC_FLAG_QSCALE, 0);
  EXPECT_EQ(context->max_b_frames, 2);
}

}  // namespace
}  // namespace codec
