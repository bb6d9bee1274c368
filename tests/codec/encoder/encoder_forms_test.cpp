// SPDX-License-Identifier: MIT
#include "codec/encoder/encoder_forms.h"

#include <gtest/gtest.h>

namespace codec {
namespace {

const AVCodec* Encoder(const char* name) { return avcodec_find_encoder_by_name(name); }

TEST(EncoderForms, PicturesKeepDepthAndChromaWhereTheEncoderCan) {
  struct Case {
    const char* encoder;
    AVPixelFormat source;
    AVPixelFormat nearest;
  };
  const Case cases[] = {
      {"libx264", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P},
      {"libx264", AV_PIX_FMT_YUV420P10LE, AV_PIX_FMT_YUV420P10LE},
      {"libx264", AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUV422P},
      {"libx264", AV_PIX_FMT_YUV422P12LE, AV_PIX_FMT_YUV422P10LE},
      {"mpeg4", AV_PIX_FMT_YUV420P10LE, AV_PIX_FMT_YUV420P},
      {"mpeg2video", AV_PIX_FMT_YUV422P10LE, AV_PIX_FMT_YUV422P},
      {"prores_ks", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV422P10LE},
      {"dnxhd", AV_PIX_FMT_YUV422P10LE, AV_PIX_FMT_YUV422P10LE},
      // Full range is another name of the same planes, or all that the encoder has.
      {"libvpx", AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUV420P},
      {"mjpeg", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVJ420P},
      // What is transparent has been laid over black.
      {"ffv1", AV_PIX_FMT_YUVA420P, AV_PIX_FMT_YUV420P},
      {"ffv1", AV_PIX_FMT_BGRA, AV_PIX_FMT_BGR0},
  };
  for (const Case& row : cases) {
    if (Encoder(row.encoder) == nullptr) continue;
    EXPECT_STREQ(av_get_pix_fmt_name(NearestPixelFormat(Encoder(row.encoder), row.source)),
                 av_get_pix_fmt_name(row.nearest))
        << row.encoder << " of " << av_get_pix_fmt_name(row.source);
  }
}

TEST(EncoderForms, SamplesKeepTheirBitsInTheFewestBytes) {
  EXPECT_EQ(NearestSampleFormat(Encoder("flac"), 16), AV_SAMPLE_FMT_S16);
  EXPECT_EQ(NearestSampleFormat(Encoder("flac"), 8), AV_SAMPLE_FMT_S16);
  EXPECT_EQ(NearestSampleFormat(Encoder("flac"), 24), AV_SAMPLE_FMT_S32);
  EXPECT_EQ(NearestSampleFormat(Encoder("flac"), 32), AV_SAMPLE_FMT_S32);
  EXPECT_EQ(NearestSampleFormat(Encoder("alac"), 24), AV_SAMPLE_FMT_S32P);
  EXPECT_EQ(NearestSampleFormat(Encoder("pcm_s16le"), 32), AV_SAMPLE_FMT_S16);
  EXPECT_EQ(NearestSampleFormat(Encoder("pcm_f32le"), 16), AV_SAMPLE_FMT_FLT);
  EXPECT_EQ(NearestSampleFormat(Encoder("aac"), 32), AV_SAMPLE_FMT_FLTP);
}

TEST(EncoderForms, RatesSnapOnlyForEncodersThatHaveAList) {
  const AVRational ntsc = NearestFrameRate(Encoder("mpeg2video"), {2997, 100});
  EXPECT_EQ(ntsc.num, 30000);
  EXPECT_EQ(ntsc.den, 1001);
  const AVRational any = NearestFrameRate(Encoder("mpeg4"), {2997, 100});
  EXPECT_EQ(any.num, 2997);
  EXPECT_EQ(any.den, 100);
}

TEST(EncoderForms, KnowsWhichNumbersHaveFullRangeByTheFormat) {
  for (const AVPixelFormat format : {AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_GRAY8, AV_PIX_FMT_BGRA}) {
    EXPECT_TRUE(IsFullRangeFormat(format)) << av_get_pix_fmt_name(format);
  }
  for (const AVPixelFormat format : {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV422P10LE, AV_PIX_FMT_NV12}) {
    EXPECT_FALSE(IsFullRangeFormat(format)) << av_get_pix_fmt_name(format);
  }
}

}  // namespace
}  // namespace codec
