// SPDX-License-Identifier: MIT
#include "codec/encoder/encoder_options.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "codec/ffmpeg/owned.h"
#include "tests/codec/encoder/encoder_fixture.h"

namespace codec {
namespace {

using encoder_test::kEncoderTag;
using encoder_test::ScratchWorkingDirectory;
using test_support::LogCapture;

const std::vector<std::string> kHardwareNames = {"hevc_zqmediacodec", "h264_zqmediacodec",
                                                 "h264_videotoolbox", "h264_qsv",
                                                 "h264_nvenc",        "h264_amf"};

EncoderOptions Applied(const EncoderSettings& settings, const std::string& codec) {
  EncoderOptions options = DefaultEncoderOptions();
  ApplyEncoderOptions(settings, codec, false, &options);
  return options;
}

EncoderSettings Sized(int width, int height) {
  EncoderSettings settings;
  settings.width = width;
  settings.height = height;
  return settings;
}

void WriteConfig(const std::string& text) { std::ofstream("Varnix.cfg") << text; }

TEST(EncoderOptions, DefaultsAreThree) {
  EXPECT_EQ(DefaultEncoderOptions(),
            (EncoderOptions{
                {"preset", "veryfast"}, {"tune", "zerolatency"}, {"movflags", "+faststart"}}));
}

TEST(EncoderOptions, NameTheHardwareCodecs) {
  for (const std::string& name : kHardwareNames) EXPECT_TRUE(IsHardwareCodec(name)) << name;
  for (const char* name : {"libx264", "h264_mediacodec", "h264_vaapi", "hevc_nvenc", ""}) {
    EXPECT_FALSE(IsHardwareCodec(name)) << name;
  }
  EXPECT_TRUE(IsMobileCodec("h264_zqmediacodec"));
  EXPECT_TRUE(IsMobileCodec("hevc_zqmediacodec"));
  EXPECT_FALSE(IsMobileCodec("h264_nvenc"));
}

TEST(EncoderOptions, SoftwareCodecsGetBaselineWhateverTheSizeTheSettingsAndTheFile) {
  const ScratchWorkingDirectory scratch;
  WriteConfig("[encoder]\nprofile=main\nlevel=42\n");
  EncoderSettings settings = Sized(1920, 1080);
  settings.profile = "high";
  settings.level = "52";
  const EncoderOptions options = Applied(settings, "libx264");
  EXPECT_EQ(options.at("profile"), "baseline");
  EXPECT_EQ(options.at("level"), "4");
  EXPECT_EQ(options.at("preset"), "veryfast");
  EXPECT_EQ(options.at("tune"), "zerolatency");
  settings.preset = "superfast";
  EXPECT_EQ(Applied(settings, "libx264").at("preset"), "superfast");
}

TEST(EncoderOptions, HardwareCodecsFollowTheSmallerSideWithoutAFile) {
  const ScratchWorkingDirectory scratch;
  struct Case {
    int width, height;
    const char *profile, *level;
  };
  for (const std::string& name : kHardwareNames) {
    for (const Case& row : {Case{1280, 720, "high", "51"}, Case{720, 1280, "high", "51"},
                            Case{1280, 719, "baseline", "4"}, Case{719, 1280, "baseline", "4"},
                            Case{640, 360, "baseline", "4"}}) {
      const LogCapture log;
      const EncoderOptions options = Applied(Sized(row.width, row.height), name);
      EXPECT_EQ(options.at("profile"), row.profile) << name << row.width;
      EXPECT_EQ(options.at("level"), row.level) << name << row.width;
      EXPECT_EQ(log.CountContaining(kLogInfo, kEncoderTag, "load config"), 0);
    }
  }
}

TEST(EncoderOptions, HardwareCodecsTakeTheFilesValuesUnchecked) {
  const ScratchWorkingDirectory scratch;
  WriteConfig("[encoder]\nprofile=no such\nlevel=999\n");
  for (const std::string& name : kHardwareNames) {
    const LogCapture log;
    const EncoderOptions options = Applied(Sized(1280, 720), name);
    EXPECT_EQ(options.at("profile"), "no such");
    EXPECT_EQ(options.at("level"), "999");
    EXPECT_EQ(log.Count(kLogInfo, kEncoderTag, "load config profile:no such, level:999"), 1);
  }
}

TEST(EncoderOptions, KeysMissingInTheFileFallBackWhateverTheSize) {
  const ScratchWorkingDirectory scratch;
  for (const char* text : {"", "[other]\nprofile=main\nlevel=42\n"}) {
    WriteConfig(text);
    const LogCapture log;
    const EncoderOptions options = Applied(Sized(1920, 1080), "h264_nvenc");
    EXPECT_EQ(options.at("profile"), "baseline");
    EXPECT_EQ(options.at("level"), "4");
    EXPECT_TRUE(log.Has(kLogInfo, kEncoderTag, "load config profile:baseline, level:4"));
  }
}

TEST(EncoderOptions, TwoHardwareCodecsGetNoPreset) {
  const ScratchWorkingDirectory scratch;
  EncoderSettings settings = Sized(640, 360);
  settings.preset = "slow";
  for (const std::string& name : kHardwareNames) {
    const EncoderOptions options = Applied(settings, name);
    const bool without = name == "h264_qsv" || name == "h264_nvenc";
    EXPECT_EQ(options.count("preset"), without ? 0U : 1U) << name;
    if (!without) {
      EXPECT_EQ(options.at("preset"), "slow");
    }
  }
}

TEST(EncoderOptions, KeyFrameIntervalIsTheGopOrTwoSeconds) {
  struct Case {
    double gop, rate;
    const char* text;
  };
  for (const Case& row :
       {Case{0, 25, "50"}, Case{-3, 25, "50"}, Case{12.5, 25, "12"}, Case{250, 25, "250"},
        Case{0, 29.97, "59"}, Case{0.5, 25, "0"}, Case{0, 1e300, "2147483647"}}) {
    EncoderSettings settings;
    settings.gop = row.gop;
    settings.frameRate = row.rate;
    const EncoderOptions options = Applied(settings, "libx264");
    EXPECT_EQ(options.at("g"), row.text);
    EXPECT_EQ(options.at("keyint_min"), row.text);
  }
}

TEST(EncoderOptions, RateControlFollowsTheBitRateUnlessSet) {
  EncoderSettings settings;
  settings.videoBitRate = 2000000;
  EncoderOptions options = Applied(settings, "libx264");
  EXPECT_EQ(options.at("maxrate"), "2000000");
  EXPECT_EQ(options.at("bufsize"), "10000000");
  settings.maxRate = 1;
  settings.bufSize = 7;
  options = Applied(settings, "libx264");
  EXPECT_EQ(options.at("maxrate"), "1");
  EXPECT_EQ(options.at("bufsize"), "7");
  settings.videoBitRate = 2147483647;
  settings.maxRate = -5;
  settings.bufSize = 0;
  options = Applied(settings, "libx264");
  EXPECT_EQ(options.at("maxrate"), "2147483647");
  EXPECT_EQ(options.at("bufsize"), "10737418235");
}

TEST(EncoderOptions, GifGetsNoneOfTheH264Ones) {
  EncoderSettings settings;
  settings.preset = "slow";
  const EncoderOptions options = Applied(settings, "gif");
  for (const char* key : {"profile", "preset", "level"}) EXPECT_EQ(options.count(key), 0U) << key;
  for (const char* key : {"tune", "movflags", "g", "keyint_min", "maxrate", "bufsize"}) {
    EXPECT_EQ(options.count(key), 1U) << key;
  }
}

TEST(EncoderOptions, AudioKeepsThemAsTheyAreAndBothLogThem) {
  const LogCapture log;
  EncoderSettings settings;
  settings.preset = "slow";
  EncoderOptions options = {{"b", "2"}, {"a", "1"}};
  ApplyEncoderOptions(settings, "h264_nvenc", true, &options);
  EXPECT_EQ(options, (EncoderOptions{{"a", "1"}, {"b", "2"}}));
  EXPECT_EQ(
      encoder_test::Texts(log, kLogDebug),
      (std::vector<std::string>{"h264_nvenc parameters: a = 1", "h264_nvenc parameters: b = 2"}));
}

TEST(EncoderOptions, VideoLogsTheFinishedOptionsInKeyOrder) {
  const LogCapture log;
  EncoderSettings settings;
  settings.videoBitRate = 1000;
  Applied(settings, "libx264");
  EXPECT_EQ(encoder_test::Texts(log, kLogDebug),
            (std::vector<std::string>{
                "libx264 parameters: bufsize = 5000", "libx264 parameters: g = 30",
                "libx264 parameters: keyint_min = 30", "libx264 parameters: level = 4",
                "libx264 parameters: maxrate = 1000", "libx264 parameters: movflags = +faststart",
                "libx264 parameters: preset = veryfast", "libx264 parameters: profile = baseline",
                "libx264 parameters: tune = zerolatency"}));
}

class SetOptionsOnContext : public testing::Test {
 protected:
  void Use(const char* name) {
    mContext.reset(avcodec_alloc_context3(avcodec_find_encoder_by_name(name)));
    ASSERT_NE(mContext, nullptr);
  }
  std::string Text(const char* key) const {
    uint8_t* text = nullptr;
    if (av_opt_get(mContext.get(), key, AV_OPT_SEARCH_CHILDREN, &text) < 0) return "?";
    const std::string copy(text == nullptr ? "" : reinterpret_cast<const char*>(text));
    av_free(text);
    return copy;
  }
  static constexpr int kVideo = AV_OPT_FLAG_ENCODING_PARAM | AV_OPT_FLAG_VIDEO_PARAM;
  static constexpr int kAudio = AV_OPT_FLAG_ENCODING_PARAM | AV_OPT_FLAG_AUDIO_PARAM;
  ffmpeg::UniqueCodecContext mContext;
};

TEST_F(SetOptionsOnContext, ReachesTheContextAndTheEncodersOwnData) {
  Use("libx264");
  SetOptions(mContext.get(), {{"g", "77"}, {"preset", "slow"}, {"nonsense", "1"}}, kVideo, 'v');
  EXPECT_EQ(mContext->gop_size, 77);
  EXPECT_EQ(Text("preset"), "slow");
}

TEST_F(SetOptionsOnContext, TriesKeysWithoutTheirKindsLetter) {
  Use("libx264");
  const int interval = mContext->keyint_min;
  SetOptions(mContext.get(), {{"vg", "78"}, {"akeyint_min", "5"}}, kVideo, 'v');
  EXPECT_EQ(mContext->gop_size, 78);
  EXPECT_EQ(mContext->keyint_min, interval);
  SetOptions(mContext.get(), {{"vg", "79"}, {"", "1"}}, kVideo, '\0');
  EXPECT_EQ(mContext->gop_size, 78);
  Use("aac");
  SetOptions(mContext.get(), {{"aar", "8000"}}, kAudio, 'a');
  EXPECT_EQ(mContext->sample_rate, 8000);
}

TEST_F(SetOptionsOnContext, LeavesOtherKindsAndTheLayoutAlone) {
  Use("aac");
  const std::string layout = Text("channel_layout");
  SetOptions(mContext.get(), {{"g", "77"}, {"channel_layout", "5.1"}, {"achannel_layout", "5.1"}},
             kAudio, 'a');
  EXPECT_NE(mContext->gop_size, 77);
  EXPECT_EQ(Text("channel_layout"), layout);
}

TEST_F(SetOptionsOnContext, SkipsRefusedValuesAndNullObjects) {
  const LogCapture quiet;
  Use("libx264");
  SetOptions(mContext.get(), {{"g", "many"}, {"keyint_min", "9"}}, kVideo, 'v');
  EXPECT_EQ(mContext->keyint_min, 9);
  SetOptions(nullptr, {{"g", "1"}}, kVideo, 'v');
}

}  // namespace
}  // namespace codec
