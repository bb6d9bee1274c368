// SPDX-License-Identifier: MIT
#include "reverse/like_source.h"

#include <gtest/gtest.h>

namespace codec {
namespace {

using List = LikeSourceKeys::List;

SourceForm Form(AVCodecID video, int profile, AVPixelFormat format) {
  SourceForm form;
  form.video = video;
  form.profile = profile;
  form.format = format;
  form.width = 1920;
  form.height = 1080;
  form.frameRate = {25, 1};
  return form;
}

struct Row {
  SourceForm source;
  List video;
  List quality;
};

TEST(LikeSource, NamesTheEncoderOfTheSourcesCodec) {
  SourceForm dnxhd = Form(AV_CODEC_ID_DNXHD, 0, AV_PIX_FMT_YUV422P);
  // Of 120 Mbit/s, as a container counts it.
  dnxhd.videoBitRate = 121241600;
  for (const Row& row :
       {Row{Form(AV_CODEC_ID_H264, 100, AV_PIX_FMT_YUV420P),
            {{"video-codec", "libx264"}},
            {{"crf", "18"}}},
        Row{Form(AV_CODEC_ID_H264, 66, AV_PIX_FMT_YUV420P),
            {{"video-codec", "libx264"}, {"profile", "baseline"}},
            {{"crf", "18"}}},
        Row{Form(AV_CODEC_ID_H264, 244, AV_PIX_FMT_GBRP),
            {{"video-codec", "libx264rgb"}},
            {{"crf", "18"}}},
        // Nothing but pictures without loss needs the profile of 4:4:4 for 4:2:0.
        Row{Form(AV_CODEC_ID_H264, 244, AV_PIX_FMT_YUV420P),
            {{"video-codec", "libx264"}},
            {{"qp", "0"}}},
        Row{Form(AV_CODEC_ID_PRORES, 1, AV_PIX_FMT_YUV422P10),
            {{"video-codec", "prores_ks"}, {"profile", "lt"}},
            {}},
        Row{dnxhd,
            {{"video-codec", "dnxhd"}, {"profile", "dnxhd"}},
            {{"video-bitrate", "120000000"}}},
        Row{Form(AV_CODEC_ID_DNXHD, 4, AV_PIX_FMT_YUV422P10),
            {{"video-codec", "dnxhd"}, {"profile", "dnxhr_hqx"}},
            {}},
        Row{Form(AV_CODEC_ID_FFV1, -99, AV_PIX_FMT_YUV420P), {{"video-codec", "ffv1"}}, {}},
        // No encoder.
        Row{Form(AV_CODEC_ID_VC1, 3, AV_PIX_FMT_YUV420P),
            {{"video-codec", "libx264"}},
            {{"crf", "18"}}}}) {
    const LikeSourceKeys keys = LikeSource(row.source);
    const char* const name = avcodec_get_name(row.source.video);
    EXPECT_EQ(keys.video, row.video) << name;
    EXPECT_EQ(keys.quality, row.quality) << name;
    EXPECT_TRUE(keys.sound.empty() && keys.always.empty()) << name;
    EXPECT_EQ(keys.missingVideo.empty(), row.source.video != AV_CODEC_ID_VC1) << name;
  }
}

TEST(LikeSource, KeepsTheSoundsCodecRateAndChannels) {
  SourceForm form;
  form.sound = AV_CODEC_ID_MP3;
  form.channels = 2;
  form.soundBitRate = 128000;
  EXPECT_EQ(LikeSource(form).sound, (List{{"audio-codec", "libmp3lame"}}));
  EXPECT_EQ(LikeSource(form).always, (List{{"audio-channels", "source"}}));
  form.sound = AV_CODEC_ID_AC3;
  form.channels = 6;
  form.soundBitRate = 640000;
  EXPECT_EQ(LikeSource(form).sound, (List{{"audio-codec", "ac3"}, {"audio-bit-rate", "640000"}}));
  form.sound = AV_CODEC_ID_PCM_S24BE;
  EXPECT_EQ(LikeSource(form).sound, (List{{"audio-codec", "pcm_s24be"}}));
  // The only encoder is not finished.
  form.sound = AV_CODEC_ID_DTS;
  EXPECT_TRUE(LikeSource(form).sound.empty());
  EXPECT_EQ(LikeSource(form).missingSound, "FFmpeg has no encoder for dts, so AAC is written");
}

TEST(LikeSource, HasNoKeysForAFileWithoutStreams) {
  const LikeSourceKeys keys = LikeSource(ReadSourceForm("no such file"));
  EXPECT_TRUE(keys.video.empty() && keys.quality.empty() && keys.sound.empty());
  EXPECT_TRUE(keys.always.empty() && keys.missingVideo.empty() && keys.missingSound.empty());
}

}  // namespace
}  // namespace codec
