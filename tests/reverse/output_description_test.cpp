// SPDX-License-Identifier: MIT
#include "reverse/output_description.h"

#include <gtest/gtest.h>

#include "tests/support/log_capture.h"

namespace codec {
namespace {

using Entries = std::map<std::string, std::string>;

MediaInfo FullHd(float frameRate) {
  MediaInfo info;
  info.duration = 10;
  info.has_video = 1;
  info.has_audio = 1;
  info.width = 1920;
  info.height = 1080;
  info.frame_rate = frameRate;
  info.pixel_format_name = "yuv420p";
  info.sample_rate = 48000;
  info.channels = 2;
  info.sample_format = 3;
  info.audio_bit_rate = 192000;
  return info;
}

Entries Describe(const MediaInfo& info, bool hasAudio = true) {
  MediaFormat format;
  EXPECT_EQ(DescribeOutput(info, hasAudio, "out.mp4", format), 0);
  return format.Entries();
}

void ExpectRefusal(const MediaInfo& info, const std::string& text) {
  const test_support::LogCapture log;
  MediaFormat format;
  EXPECT_EQ(DescribeOutput(info, info.has_audio != 0, "out.mp4", format), -1);
  ASSERT_EQ(log.Lines().size(), 1U);
  EXPECT_EQ(log.Lines()[0], (test_support::LogLine{kLogError, "codec::Reverse", text}));
}

TEST(OutputDescription, NamesEveryValueOfTheOutput) {
  const Entries expected = {
      {"has-video", "1"},
      {"has-audio", "1"},
      {"width", "1920"},
      {"height", "1080"},
      {"rotate", "0"},
      {"frame-rate", "25"},
      {"video-bitrate", "8000000"},
      {"sample_aspect_den", "1"},
      {"sample_aspect_num", "1"},
      {"audio-bit-rate", "192000"},
      {"sample-rate", "48000"},
      {"channel-count", "2"},
      {"sample-format", "8"},
      {"gop", "25"},
      {"maxrate", "8000000"},
      {"bufsize", "40000000"},
      {"profile", "baseline"},
      {"level", "2.1"},
      {"preset", "superfast"},
      {"audio-codec", "aac"},
      {"video-codec", "libx264"},
      {"input-color-format", "yuv420p"},
      {"output-color-format", "yuv420p"},
      {"output-path", "out.mp4"},
      {"enable-noise-suppression", "0"},
      {"enable-av-sync", "0"},
      {"auto-discard-video", "0"},
      {"auto-discard-audio", "0"},
  };
  EXPECT_EQ(Describe(FullHd(25)), expected);
}

TEST(OutputDescription, RaisesTheRatesForFastClips) {
  const Entries entries = Describe(FullHd(60));
  EXPECT_EQ(entries.at("video-bitrate"), "12000000");
  EXPECT_EQ(entries.at("maxrate"), "12000000");
  EXPECT_EQ(entries.at("bufsize"), "60000000");
  EXPECT_EQ(entries.at("gop"), "60");
}

TEST(OutputDescription, ChoosesTheBitRateByPixelCountAndFrameRate) {
  struct Case {
    int64_t width, height;
    int32_t normal, fast;
  };
  for (const Case& c : {Case{3840, 2160, 35000000, 53000000}, Case{2560, 1440, 16000000, 24000000},
                        Case{1920, 1080, 8000000, 12000000}, Case{1280, 720, 5000000, 7500000},
                        Case{854, 480, 2500000, 4000000}, Case{853, 480, 1000000, 1500000},
                        Case{3839, 2160, 16000000, 24000000}, Case{2, 2, 1000000, 1500000}}) {
    EXPECT_EQ(VideoBitRate(c.width * c.height, 40), c.normal) << c.width;
    EXPECT_EQ(VideoBitRate(c.width * c.height, 40.01F), c.fast) << c.width;
  }
}

TEST(OutputDescription, JumpsFromALowAudioRateToAHighOne) {
  MediaInfo info = FullHd(25);
  info.audio_bit_rate = 96000;
  EXPECT_EQ(Describe(info).at("audio-bit-rate"), "384000");
  info.audio_bit_rate = 127999;
  EXPECT_EQ(Describe(info).at("audio-bit-rate"), "384000");
  info.audio_bit_rate = 128000;
  EXPECT_EQ(Describe(info).at("audio-bit-rate"), "128000");
}

TEST(OutputDescription, LeavesTheAudioRateAloneWithoutAudio) {
  MediaInfo info = FullHd(25);
  info.audio_bit_rate = 96000;
  info.sample_rate = 0;
  info.channels = 0;
  const Entries entries = Describe(info, false);
  EXPECT_EQ(entries.at("audio-bit-rate"), "96000");
  EXPECT_EQ(entries.at("has-audio"), "0");
}

TEST(OutputDescription, KeepsOnlyQuarterTurns) {
  MediaInfo info = FullHd(25);
  const std::map<double, std::string> turns = {{89.9, "0"},    {90.0, "90"},   {90.7, "90"},
                                               {180.0, "180"}, {270.0, "270"}, {-90.0, "0"},
                                               {-0.5, "0"},    {360.0, "0"},   {1e300, "0"}};
  for (const auto& [degrees, text] : turns) {
    info.rotation = degrees;
    EXPECT_EQ(Describe(info).at("rotate"), text) << degrees;
  }
}

TEST(OutputDescription, TruncatesTheFrameRateForTheKeyFrameDistance) {
  const Entries entries = Describe(FullHd(29.97003F));
  EXPECT_EQ(entries.at("frame-rate"), "29.97");
  EXPECT_EQ(entries.at("gop"), "29");
}

TEST(OutputDescription, KeepsTheKeyFrameDistanceOfAnAbsurdRateInRange) {
  EXPECT_EQ(Describe(FullHd(2147483648.0F)).at("gop"), "1000000000");
}

TEST(OutputDescription, RefusesAFrameRateOfNothing) {
  ExpectRefusal(FullHd(0), "error fps:0");
  ExpectRefusal(FullHd(-1), "error fps:-1");
}

TEST(OutputDescription, RefusesPicturesOfNoSize) {
  MediaInfo info = FullHd(25);
  info.width = 0;
  ExpectRefusal(info, "error width:0");
  info = FullHd(25);
  info.height = -3;
  ExpectRefusal(info, "error height:-3");
}

TEST(OutputDescription, RefusesSoundOfNoRateOrChannel) {
  MediaInfo info = FullHd(25);
  info.sample_rate = 0;
  ExpectRefusal(info, "error sample_rate:0");
  info = FullHd(25);
  info.channels = 0;
  ExpectRefusal(info, "error channel:0");
}

TEST(OutputDescription, RefusesAnInputWithoutVideo) {
  MediaInfo info = FullHd(25);
  info.has_video = 0;
  ExpectRefusal(info, "error has_video:0");
}

}  // namespace
}  // namespace codec
