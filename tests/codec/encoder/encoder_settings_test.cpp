// SPDX-License-Identifier: MIT
#include "codec/encoder/encoder_settings.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <string>
#include <vector>

#include "codec/encoder/ffmpeg_encoder_impl.h"
#include "codec/ffmpeg/ffmpeg_headers.h"
#include "codec/utils/numbers.h"
#include "tests/codec/encoder/encoder_fixture.h"

namespace codec {
namespace {

using encoder_test::kEncoderTag;
using test_support::LogCapture;
using test_support::LogLine;

TEST(EncoderSettings, StartFromTheseDefaults) {
  const EncoderSettings s;
  for (const std::string& text : {s.fileFormat, s.videoCodec, s.outputColorFormat, s.audioCodec,
                                  s.outputPath, s.preset, s.threadType, s.libPrefix}) {
    EXPECT_EQ(text, "");
  }
  for (const int number : {s.videoBitRate, s.maxRate, s.bufSize, s.width, s.height,
                           s.sampleAspectDen, s.sampleAspectNum, s.threadCount}) {
    EXPECT_EQ(number, 0);
  }
  EXPECT_EQ(s.videoPixelFormat, -1);
  EXPECT_EQ(s.rotate, "0");
  EXPECT_EQ(s.frameRate, 15.0);
  EXPECT_EQ(s.gop, 30.0);
  EXPECT_EQ(s.audioBitRate, 64000);
  EXPECT_EQ(s.sampleRate, 44100);
  EXPECT_EQ(s.channelCount, 2);
  EXPECT_EQ(s.sampleFormat, 8);
  EXPECT_TRUE(s.hasVideo);
  EXPECT_FALSE(s.hasAudio);
  EXPECT_EQ(s.profile, "baseline");
  EXPECT_EQ(s.level, "31");
}

TEST(EncoderSettings, KeepTextUnderEachTextKey) {
  const std::vector<std::pair<const char*, std::string EncoderSettings::*>> rows = {
      {"file-format", &EncoderSettings::fileFormat},
      {"video-codec", &EncoderSettings::videoCodec},
      {"output-color-format", &EncoderSettings::outputColorFormat},
      {"rotate", &EncoderSettings::rotate},
      {"audio-codec", &EncoderSettings::audioCodec},
      {"output-path", &EncoderSettings::outputPath},
      {"preset", &EncoderSettings::preset},
      {"profile", &EncoderSettings::profile},
      {"level", &EncoderSettings::level},
      {"thread-type", &EncoderSettings::threadType}};
  for (const auto& [key, member] : rows) {
    EncoderSettings settings;
    settings.SetParameter(key, " some Text ");
    EXPECT_EQ(settings.*member, " some Text ") << key;
  }
}

TEST(EncoderSettings, ReadTheLeadingIntegerUnderEachIntegerKey) {
  const std::vector<std::pair<const char*, int EncoderSettings::*>> rows = {
      {"video-bitrate", &EncoderSettings::videoBitRate},
      {"maxrate", &EncoderSettings::maxRate},
      {"bufsize", &EncoderSettings::bufSize},
      {"width", &EncoderSettings::width},
      {"height", &EncoderSettings::height},
      {"sample_aspect_den", &EncoderSettings::sampleAspectDen},
      {"sample_aspect_num", &EncoderSettings::sampleAspectNum},
      {"audio-bit-rate", &EncoderSettings::audioBitRate},
      {"sample-rate", &EncoderSettings::sampleRate},
      {"channel-count", &EncoderSettings::channelCount},
      {"sample-format", &EncoderSettings::sampleFormat},
      {"thread-count", &EncoderSettings::threadCount}};
  const std::vector<std::pair<const char*, int>> texts = {{"17", 17},
                                                          {"-3", -3},
                                                          {"  42px", 42},
                                                          {"abc", 0},
                                                          {"12.9", 12},
                                                          {"", 0},
                                                          {"0x10", 0},
                                                          {"99999999999999999999", INT_MAX},
                                                          {"1e6", 1},
                                                          {"+8", 8},
                                                          {"-4294967296", INT_MIN}};
  for (const auto& [key, member] : rows) {
    for (const auto& [text, number] : texts) {
      EncoderSettings settings;
      settings.SetParameter(key, text);
      EXPECT_EQ(settings.*member, number) << key << " " << text;
    }
  }
}

TEST(EncoderSettings, ReadFrameRateAndGopAsFractions) {
  EncoderSettings settings;
  settings.SetParameter("gop", "12.5");
  settings.SetParameter("frame-rate", "29.97");
  EXPECT_EQ(settings.gop, 12.5);
  EXPECT_EQ(settings.frameRate, 29.97);
  settings.SetParameter("gop", "abc");
  settings.SetParameter("frame-rate", "1e+06");
  EXPECT_EQ(settings.gop, 0.0);
  EXPECT_EQ(settings.frameRate, 1e6);
}

TEST(EncoderSettings, TurnSwitchesOnForAnyNumberButZero) {
  for (const auto& [text, on] : std::vector<std::pair<const char*, bool>>{
           {"abc", false}, {"2", true}, {"0", false}, {"1", true}, {"-1", true}, {"true", false}}) {
    EncoderSettings settings;
    settings.SetParameter("has-audio", text);
    settings.SetParameter("has-video", text);
    EXPECT_EQ(settings.hasAudio, on) << text;
    EXPECT_EQ(settings.hasVideo, on) << text;
  }
}

TEST(EncoderSettings, ACodecNamedNoneRevokesTheVideo) {
  MediaFormat format;
  format.SetInt32("has-video", 1);
  format.SetString("video-codec", "none");
  EXPECT_FALSE(encoder_test::SettingsOf(format).hasVideo);
  for (const char* name : {"None", "none ", "nonesuch", ""}) {
    format.SetString("video-codec", name);
    EXPECT_TRUE(encoder_test::SettingsOf(format).hasVideo) << name;
  }
}

TEST(EncoderSettings, LogEveryKeyAndDropUnknownOnes) {
  const LogCapture log;
  EncoderSettings settings;
  settings.SetParameter("width", "5");
  settings.SetParameter("enable-video-encode-time", "1");
  settings.SetParameter("input-by-surface", "1");
  settings.SetParameter("Width", "6");
  EXPECT_EQ(settings.width, 5);
  EXPECT_EQ(log.Lines(), (std::vector<LogLine>{
                             {kLogDebug, kEncoderTag, "SetParameter:width = 5"},
                             {kLogDebug, kEncoderTag, "SetParameter:enable-video-encode-time = 1"},
                             {kLogDebug, kEncoderTag, "SetParameter:input-by-surface = 1"},
                             {kLogDebug, kEncoderTag, "SetParameter:Width = 6"},
                             {kLogInfo, kEncoderTag, "ignore Width:6"}}));
}

TEST(EncoderSettings, InitResolvesThePixelFormatByName) {
  const LogCapture log;
  FFmpegEncoderImpl encoder;
  encoder.SetParameter("output-color-format", "yuv420p");
  EXPECT_EQ(encoder.Init("prefix", "name"), 0);
  EXPECT_TRUE(log.Has(kLogDebug, kEncoderTag, "m_videoPixelFormat:yuv420p-->0"));
  encoder.SetParameter("output-color-format", "bgra");
  EXPECT_EQ(encoder.Init(nullptr, nullptr), 0);
  EXPECT_TRUE(log.Has(kLogDebug, kEncoderTag,
                      "m_videoPixelFormat:bgra-->" + std::to_string(AV_PIX_FMT_BGRA)));
}

TEST(EncoderSettings, InitRefusesAnUnknownPixelFormatOnlyWithVideo) {
  const LogCapture log;
  FFmpegEncoderImpl encoder;
  encoder.SetParameter("output-color-format", "yuv4");
  EXPECT_EQ(encoder.Init("", ""), -1);
  EXPECT_TRUE(log.Has(kLogDebug, kEncoderTag, "m_videoPixelFormat:yuv4-->-1"));
  EXPECT_TRUE(log.Has(kLogError, kEncoderTag, "Invalid video pixel format: yuv4"));
  encoder.SetParameter("has-video", "0");
  EXPECT_EQ(encoder.Init("", ""), 0);
  EXPECT_EQ(log.CountContaining(kLogDebug, kEncoderTag, "m_videoPixelFormat"), 1);
}

// Every check, in order: the settings that pass all earlier ones and fail this one.
TEST(EncoderSettings, CheckParamsNamesTheFirstThingMissing) {
  struct Case {
    std::vector<std::pair<const char*, const char*>> changes;
    const char* text;
  };
  const std::vector<Case> cases = {
      {{{"video-codec", ""}, {"output-color-format", "?"}, {"width", "0"}, {"audio-codec", ""}},
       "You must Specified a video codec."},
      {{{"output-color-format", "?"}, {"width", "0"}, {"audio-codec", ""}},
       "You must Specified input video pixel format."},
      {{{"width", "0"}, {"audio-codec", ""}}, "You must input video width and height."},
      {{{"height", "0"}, {"output-path", ""}}, "You must input video width and height."},
      {{{"audio-codec", ""}, {"output-path", ""}}, "You must Specified a audio codec."},
      {{{"output-path", ""}}, "You must input ouput filename."},
      {{{"has-video", "0"}, {"video-codec", ""}, {"audio-codec", ""}},
       "You must Specified a audio codec."},
      {{{"has-video", "0"}, {"has-audio", "0"}, {"output-path", ""}},
       "You must input ouput filename."}};
  for (const Case& row : cases) {
    MediaFormat format = encoder_test::FilmFormat("never-made.mp4");
    for (const auto& [key, value] : row.changes) format.SetString(key, value);
    FFmpegEncoderImpl encoder;
    encoder_test::Configure(&encoder, format);
    const LogCapture log;
    EXPECT_EQ(encoder.Open(), -1);
    EXPECT_LT(encoder.OutputError(), 0);
    const bool video = std::string(row.changes[0].first) != "has-video";
    EXPECT_EQ(
        log.Lines(),
        (std::vector<LogLine>{{kLogDebug, kEncoderTag,
                               std::string("CheckParams m_hasVideo:") + (video ? "ture" : "false")},
                              {kLogError, kEncoderTag, row.text}}));
    encoder.Close();
  }
}

TEST(EncoderSettings, CheckParamsPassesWhatIsComplete) {
  const EncoderSettings film = encoder_test::SettingsOf(encoder_test::FilmFormat("x.mp4"));
  EXPECT_EQ(film.CheckParams(), 0);
  MediaFormat sound = encoder_test::SoundFormat("x.mp4", "aac");
  EXPECT_EQ(encoder_test::SettingsOf(sound).CheckParams(), 0);
}

TEST(EncoderNumbers, ConvertEveryDouble) {
  EXPECT_EQ(TruncateToInt(29.99), 29);
  EXPECT_EQ(TruncateToInt(-29.99), -29);
  EXPECT_EQ(TruncateToInt(std::nan("")), 0);
  EXPECT_EQ(TruncateToInt(1e300), INT_MAX);
  EXPECT_EQ(TruncateToInt(-1e300), INT_MIN);
  EXPECT_EQ(TruncateToInt64(-0.5), 0);
  EXPECT_EQ(TruncateToInt64(1e15 + 0.5), 1000000000000000);
  EXPECT_EQ(TruncateToInt64(std::nan("")), 0);
  EXPECT_EQ(TruncateToInt64(HUGE_VAL), int64_t{1} << 62);
  EXPECT_EQ(TruncateToInt64(-HUGE_VAL), -(int64_t{1} << 62));
}

}  // namespace
}  // namespace codec
