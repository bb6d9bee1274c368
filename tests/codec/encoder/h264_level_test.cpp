// SPDX-License-Identifier: MIT
#include "codec/encoder/h264_level.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "codec/encoder/ffmpeg_encoder_impl.h"
#include "codec/ffmpeg/owned.h"
#include "tests/codec/encoder/encoder_fixture.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace codec {
namespace {

struct Stream {
  int width;
  int height;
  int frameRate;
  int kilobits;  // of rate and, five times as many, of buffer
  const char* preset;
};

const std::vector<Stream> kStreams = {
    {128, 96, 15, 30, "superfast"},       {176, 144, 15, 64, "medium"},
    {352, 288, 15, 100, "superfast"},     {352, 288, 30, 200, "slower"},
    {352, 576, 25, 700, "fast"},          {640, 360, 25, 1000, "superfast"},
    {640, 360, 60, 1500, "veryslow"},     {854, 480, 30, 2500, "superfast"},
    {1280, 720, 30, 2500, "superfast"},   {1280, 720, 60, 4000, "slow"},
    {1920, 1080, 25, 4000, "superfast"},  {1920, 1080, 30, 8000, "superfast"},
    {1920, 1080, 60, 12000, "superfast"}, {1920, 1080, 60, 12000, "placebo"},
    {1920, 1080, 240, 12000, "2"},        {4096, 64, 10, 1000, "superfast"},
    {2560, 1440, 30, 16000, "superfast"}, {3840, 2160, 30, 35000, "superfast"},
    {3840, 2160, 60, 53000, "superfast"}, {3840, 2160, 120, 53000, "superfast"},
    {7680, 4320, 30, 53000, "ultrafast"}, {7680, 4320, 60, 80000, "ultrafast"}};

// Those that levels with fields allow.
const std::vector<Stream> kInterlacedStreams = {
    {176, 144, 15, 64, "medium"},         {352, 288, 25, 500, "superfast"},
    {352, 576, 25, 700, "fast"},          {352, 560, 25, 700, "slower"},
    {720, 576, 25, 1000, "superfast"},    {720, 576, 25, 2500, "slower"},
    {720, 480, 30, 2500, "superfast"},    {1440, 1080, 25, 4000, "superfast"},
    {1920, 1080, 25, 8000, "superfast"},  {1920, 1080, 30, 8000, "superfast"},
    {1920, 1080, 30, 10000, "superfast"}, {720, 400, 36, 1000, "superfast"}};

H264Load LoadOf(const Stream& stream, bool hasFields = false) {
  H264Load load;
  load.width = stream.width;
  load.height = stream.height;
  load.frameRate = stream.frameRate;
  load.maxRate = int64_t{stream.kilobits} * 1000;
  load.bufferSize = 5 * load.maxRate;
  load.references = H264References(stream.preset);
  load.hasFields = hasFields;
  return load;
}

// The level that x264 writes where none is asked for: it has a table of its own. The byte stands in
// the sequence parameters of the stream's header.
int LevelOfX264(const Stream& stream, bool hasFields = false) {
  const ffmpeg::UniqueCodecContext context(
      avcodec_alloc_context3(avcodec_find_encoder_by_name("libx264")));
  context->width = stream.width;
  context->height = stream.height;
  context->time_base = {1, stream.frameRate};
  context->pix_fmt = AV_PIX_FMT_YUV420P;
  context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  if (hasFields) context->flags |= AV_CODEC_FLAG_INTERLACED_DCT;
  context->thread_count = 1;
  context->bit_rate = int64_t{stream.kilobits} * 1000;
  context->rc_max_rate = context->bit_rate;
  context->rc_buffer_size = static_cast<int>(5 * context->bit_rate);
  for (const auto& [key, value] : {std::pair{"preset", stream.preset},
                                   {"tune", "zerolatency"},
                                   {"profile", hasFields ? "main" : "baseline"}}) {
    EXPECT_GE(av_opt_set(context->priv_data, key, value, 0), 0);
  }
  EXPECT_EQ(avcodec_open2(context.get(), nullptr, nullptr), 0);
  constexpr int kLevelByte = 7;  // after the start code, the unit's type, profile and constraints
  return context->extradata_size > kLevelByte ? context->extradata[kLevelByte] : 0;
}

TEST(H264Level, IsTheOneThatTheEncoderFindsByItself) {
  for (const Stream& stream : kStreams) {
    EXPECT_EQ(H264Level(LoadOf(stream)), LevelOfX264(stream))
        << stream.width << "x" << stream.height << " " << stream.frameRate << " " << stream.kilobits
        << " " << stream.preset;
  }
}

TEST(H264Level, IsThatOfTheEncoderForFieldsToo) {
  for (const Stream& stream : kInterlacedStreams) {
    EXPECT_EQ(H264Level(LoadOf(stream, true)), LevelOfX264(stream, true))
        << stream.width << "x" << stream.height << " " << stream.frameRate << " " << stream.kilobits
        << " " << stream.preset;
  }
}

TEST(H264Level, GoesByTheRestIfNoLevelHasSuchFields) {
  const Stream large = {3840, 2160, 30, 35000, "superfast"};
  EXPECT_EQ(H264Level(LoadOf(large, true)), H264Level(LoadOf(large)));
}

TEST(H264Level, RisesWithEachDemandAlone) {
  const H264Load small{640, 360, 22, 1000000, 1000000, 1};
  EXPECT_EQ(H264Level(small), 22);
  H264Load load = small;
  load.frameRate = 23;
  EXPECT_EQ(H264Level(load), 30) << "rate of pictures";
  load = small;
  load.maxRate = 14001000;
  EXPECT_EQ(H264Level(load), 32) << "bit rate";
  load = small;
  load.bufferSize = 25001000;
  EXPECT_EQ(H264Level(load), 41) << "buffer";
  load = small;
  load.references = 16;
  EXPECT_EQ(H264Level(load), 31) << "references";
  load = small;
  load.width = 8192;
  load.height = 16;
  EXPECT_EQ(H264Level(load), 51) << "a side longer than the square root of eight pictures";
}

TEST(H264Level, EndsWithTheHighest) { EXPECT_EQ(H264Level({16384, 16384, 30, 0, 0, 1}), 62); }

TEST(H264References, AreTheMostForAnUnknownPreset) {
  EXPECT_EQ(H264References("no such"), 16);
  EXPECT_EQ(H264References("5"), H264References("medium"));
}

TEST(H264Level, IsWrittenWhereItIsSwitchedOn) {
  using namespace encoder_test;
  for (const bool isOn : {false, true}) {
    const std::string path = test_support::ScratchPath("level.mp4");
    MediaFormat format = VideoFormat(path);
    format.SetInt32("width", 1920);
    format.SetInt32("height", 1080);
    format.SetInt32("frame-rate", 60);
    if (isOn) format.SetInt32("true-level", 1);
    FFmpegEncoderImpl encoder;
    ASSERT_EQ(Configure(&encoder, format), 0);
    ASSERT_EQ(encoder.Open(), 0);
    EXPECT_EQ(Feed(&encoder, 2, 1920, 1080), 0);
    encoder.Close();
    EXPECT_EQ(test_support::StreamFields(path, "v").at("level"), isOn ? "42" : "40");
  }
}

}  // namespace
}  // namespace codec
