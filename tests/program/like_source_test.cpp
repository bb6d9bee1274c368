// SPDX-License-Identifier: MIT
// Outputs that are encoded as their sources are.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "codec/ffmpeg/ffmpeg_headers.h"
#include "tests/support/channel_sound.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"

namespace test_support {
namespace {

constexpr int kPictures = 15;
constexpr double kFrame = 0.04;
constexpr double kLongestTail = 0.05;  // a frame of sound
constexpr double kContainerTick = 0.0015;

struct Row {
  const char* name;
  const char* container;
  const char* video;  // ffmpeg's words
  const char* sound;
  const char* layout;
  int rate;
  int width = 400;
  int height = 64;
  bool hasProfile = false;  // that says something
  bool losesNoPicture = false;
  bool losesNoSound = false;
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

constexpr Row kRows[] = {
    {"h264_aac", "mp4", "libx264 -pix_fmt yuv420p", "aac", "mono", 44100, 400, 64, true},
    {"h264_baseline", "mkv", "libx264 -profile:v baseline -pix_fmt yuv420p", "ac3 -b:a 448k",
     "5.1(side)", 48000},
    // No block lasts whole milliseconds, which are what Matroska counts.
    {"h264_high10", "mkv", "libx264 -pix_fmt yuv420p10le", "flac -frame_size 1024", "5.1(side)",
     48000, 400, 64, true, false, true},
    {"h264_422", "mov", "libx264 -pix_fmt yuv422p", "pcm_s16le", "stereo", 32000, 400, 64, true,
     false, true},
    {"h264_444", "mkv", "libx264 -pix_fmt yuv444p", "libmp3lame", "stereo", 44100, 400, 64, true},
    {"h264_rgb", "mkv", "libx264rgb -pix_fmt bgr24", "libvorbis", "mono", 48000},
    {"h264_444_10", "mkv", "libx264 -pix_fmt yuv444p10le", "aac", "stereo", 48000, 400, 64, true},
    {"h264_lossless", "mov", "libx264 -qp 0 -pix_fmt yuv420p", "alac", "mono", 48000, 400, 64, true,
     true, true},
    {"h264_full_range", "mp4", "libx264 -pix_fmt yuvj420p", "aac", "5.1", 48000, 400, 64, true},
    {"hevc", "mp4", "libx265 -x265-params log-level=error -pix_fmt yuv420p", "aac", "stereo", 48000,
     400, 64, true},
    {"hevc_10", "mkv", "libx265 -x265-params log-level=error -pix_fmt yuv422p10le", "libopus",
     "5.1", 48000, 400, 64, true},
    {"vp8", "webm", "libvpx -deadline realtime -pix_fmt yuv420p", "libvorbis", "stereo", 44100},
    {"vp9_444", "webm", "libvpx-vp9 -deadline realtime -pix_fmt yuv444p", "libopus", "mono", 48000,
     400, 64, true},
    {"av1_10", "mkv", "libsvtav1 -preset 12 -pix_fmt yuv420p10le", "libopus", "7.1", 48000, 400,
     128},
    {"mpeg4", "avi", "mpeg4 -q:v 3", "libmp3lame", "mono", 44100},
    {"mpeg2_422", "ts", "mpeg2video -q:v 3 -pix_fmt yuv422p", "mp2", "stereo", 48000, 400, 64,
     true},
    {"mjpeg", "avi", "mjpeg -pix_fmt yuvj422p", "pcm_u8", "mono", 22050, 400, 64, false, false,
     true},
    {"prores_lt", "mov", "prores_ks -profile:v lt -pix_fmt yuv422p10le", "pcm_s24le", "7.1", 96000,
     400, 64, true, false, true},
    {"prores_4444", "mov", "prores_ks -profile:v 4444 -pix_fmt yuv444p10le", "pcm_s16be", "quad",
     48000, 400, 64, true, false, true},
    {"dnxhd", "mov", "dnxhd -b:v 36M -pix_fmt yuv422p", "pcm_s16le", "stereo", 48000, 1920, 1080,
     true, false, true},
    {"dnxhr_sq", "mov", "dnxhd -profile:v dnxhr_sq -pix_fmt yuv422p", "pcm_s24le", "stereo", 48000,
     400, 128, true, false, true},
    {"ffv1_16", "mkv", "ffv1 -pix_fmt yuv422p16le", "flac -frame_size 4608", "7.1", 48000, 400, 64,
     false, true, true},
    {"huffyuv", "avi", "huffyuv -pix_fmt yuv422p", "pcm_f32le", "stereo", 48000, 400, 64, false,
     true, true},
    {"png", "mov", "png -pix_fmt rgb24", "pcm_f32le", "mono", 8000, 400, 64, false, true, true},
    {"utvideo", "mkv", "utvideo -pix_fmt gbrp", "wavpack", "stereo", 48000, 400, 64, false, true},
};

std::string Tones(const Row& row) {
  std::map<std::string, int> counts = {{"mono", 1}, {"stereo", 2},    {"quad", 4},
                                       {"5.1", 6},  {"5.1(side)", 6}, {"7.1", 8}};
  std::string tones;
  for (int i = 0; i < counts.at(row.layout); ++i) {
    if (i > 0) tones += '|';
    tones += ChannelTone(i);
  }
  return "aevalsrc='" + tones + "':c=" + row.layout + ":s=" + std::to_string(row.rate);
}

std::string Source(const Row& row) {
  std::vector<std::string> words = {"-f", "lavfi", "-i", SceneFilter(row.width, row.height, "25"),
                                    "-f", "lavfi", "-i", Tones(row)};
  AppendWords(
      "-t 0.6 -ar " + std::to_string(row.rate) + " -c:v " + row.video + " -c:a " + row.sound,
      &words);
  return CustomClip("like_" + std::string(row.name) + "." + row.container, words);
}

bool IsFFmpeg4() { return AV_VERSION_MAJOR(avformat_version()) < 59; }

// Matroska of FFmpeg 4 puts all but the first pictures later by what the sound begins with: once in
// the source, and once more in the output.
double TimeRounding(const std::string& path) {
  const bool isUneven = IsFFmpeg4() && path.find(".mkv") != std::string::npos;
  return kContainerTick + (isUneven ? kLongestTail : 0);
}

void ExpectEveryPictureOnce(const std::string& path) {
  const std::vector<Picture> pictures = DecodeLuma(path);
  ASSERT_EQ(pictures.size(), static_cast<size_t>(kPictures));
  for (int i = 0; i < kPictures; ++i) {
    EXPECT_EQ(ReadFrameNumber(pictures[static_cast<size_t>(i)]), kPictures - 1 - i);
  }
  const std::vector<double> times = VideoTimes(path);
  ASSERT_EQ(times.size(), static_cast<size_t>(kPictures));
  const double rounding = TimeRounding(path);
  // The first picture lasts from the source's last one to the end of its sound.
  EXPECT_GE(times[1] - times[0], kFrame - kContainerTick);
  EXPECT_LE(times[1] - times[0], kFrame + kLongestTail);
  for (size_t i = 1; i < times.size(); ++i) {
    EXPECT_NEAR(times[i] - times[1], static_cast<double>(i - 1) * kFrame, rounding);
  }
}

std::vector<std::string> PictureHashes(const std::string& path) {
  std::istringstream lines(
      Run({"ffmpeg", "-v", "error", "-i", path, "-map", "0:v:0", FrameTimingOption(), "passthrough",
           "-f", "framehash", "-hash", "md5", "-"})
          .out);
  std::vector<std::string> hashes;
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty() && line[0] != '#') hashes.push_back(line.substr(line.rfind(' ') + 1));
  }
  return hashes;
}

class LikeSource : public testing::TestWithParam<Row> {};

TEST_P(LikeSource, WritesTheSourcesCodecsAndForms) {
  const Row& row = GetParam();
  const std::string encoder = std::string(row.video).substr(0, std::string(row.video).find(' '));
  if (avcodec_find_encoder_by_name(encoder.c_str()) == nullptr) {
    GTEST_SKIP() << "this FFmpeg came before the encoder";
  }
  const std::string source = Source(row);
  const std::string output = ScratchPath(std::string(row.name) + "." + row.container);
  const CommandResult result =
      RunProgram({"-i", source, "-o", output, "--like-source", "--set", "thread-count=2"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err.find("has no encoder"), std::string::npos) << result.err;
  std::map<std::string, std::string> video = StreamFields(source, "v");
  std::map<std::string, std::string> written = StreamFields(output, "v");
  for (const char* const key : {"codec_name", "pix_fmt"}) {
    EXPECT_EQ(written[key], video[key]) << key;
  }
  // FFmpeg 4 says nothing, or a wrong word, of the range of RGB, which is full.
  const bool saysRange = !IsFFmpeg4() || video["pix_fmt"] != "gbrp";
  EXPECT_EQ(written["color_range"], saysRange ? video["color_range"] : "pc");
  if (row.hasProfile) {
    EXPECT_EQ(written["profile"], video["profile"]);
  }
  std::map<std::string, std::string> sound = StreamFields(source, "a");
  std::map<std::string, std::string> heard = StreamFields(output, "a");
  for (const char* const key : {"codec_name", "sample_rate", "channels", "channel_layout"}) {
    EXPECT_EQ(heard[key], sound[key]) << key;
  }
  ExpectEveryPictureOnce(output);
  if (row.losesNoPicture) {
    std::vector<std::string> hashes = PictureHashes(source);
    std::reverse(hashes.begin(), hashes.end());
    EXPECT_EQ(PictureHashes(output), hashes);
  }
  ExpectEachChannelReversed(source, output, std::stoul(sound["channels"]), row.losesNoSound);
}

INSTANTIATE_TEST_SUITE_P(Sources, LikeSource, testing::ValuesIn(kRows),
                         [](const auto& row) { return row.param.name; });

constexpr Row kProres = {"prores",    "mov",    "prores_ks -profile:v hq -pix_fmt yuv422p10le",
                         "pcm_s24le", "stereo", 48000};

TEST(LikeSourceKeys, OfTheUserCountMore) {
  const std::string source = Source(kProres);
  const std::string output = ScratchPath("given.mov");
  const CommandResult result =
      RunProgram({"-i", source, "-o", output, "--like-source", "--set", "video-codec=libx265",
                  "--set", "crf=30", "--set", "audio-codec=flac", "--set", "thread-count=2"});
  // A container that has no name for the sound.
  EXPECT_NE(result.status, 0);
  const CommandResult taken =
      RunProgram({"-i", source, "-o", output, "--like-source", "--set", "video-codec=libx265",
                  "--set", "crf=30", "--set", "audio-codec=alac", "--set", "thread-count=2"});
  ASSERT_EQ(taken.status, 0) << taken.err;
  EXPECT_EQ(StreamFields(output, "v")["codec_name"], "hevc");
  EXPECT_EQ(StreamFields(output, "v")["pix_fmt"], "yuv422p10le");
  EXPECT_EQ(StreamFields(output, "a")["codec_name"], "alac");
  const std::string proxy = ScratchPath("proxy.mov");
  ASSERT_EQ(
      RunProgram({"-i", source, "-o", proxy, "--like-source", "--set", "profile=proxy"}).status, 0);
  EXPECT_EQ(StreamFields(proxy, "v")["profile"], "Proxy");
}

TEST(LikeSourceRefusals, NameWhatTheContainerTakes) {
  const std::string output = ScratchPath("refused.mp4");
  const CommandResult result = RunProgram({"-i", Source(kProres), "-o", output, "--like-source"});
  EXPECT_NE(result.status, 0);
  EXPECT_NE(result.err.find(output + " cannot hold prores; use --set video-codec=libx264"),
            std::string::npos)
      << result.err;
  EXPECT_FALSE(std::ifstream(output).good());
}

TEST(LikeSourceRefusals, AreNoneForACodecWithoutAnEncoder) {
  const std::string source =
      Source({"dts", "mkv", "mpeg4 -q:v 3", "dca -strict -2", "5.1(side)", 48000});
  const std::string output = ScratchPath("dts.mkv");
  const CommandResult result = RunProgram({"-i", source, "-o", output, "--like-source"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.err.find("FFmpeg has no encoder for dts, so AAC is written\n"),
            std::string::npos)
      << result.err;
  EXPECT_EQ(StreamFields(output, "a")["codec_name"], "aac");
  EXPECT_EQ(StreamFields(output, "a")["channel_layout"], "5.1");
  const CommandResult chosen =
      RunProgram({"-i", source, "-o", output, "--like-source", "--set", "audio-codec=flac"});
  ASSERT_EQ(chosen.status, 0) << chosen.err;
  EXPECT_EQ(chosen.err.find("has no encoder"), std::string::npos) << chosen.err;
}

// Pictures are copied, and only sound is encoded as the source's. AAC is not what sound without an
// encoder becomes.
TEST(LikeSourceCopy, EncodesTheSoundOnly) {
  const auto soundOfCopy = [](const Row& row) {
    const std::string source = Source(row);
    const std::string output = ScratchPath(std::string(row.name) + ".mkv");
    const CommandResult result =
        RunProgram({"-i", source, "-o", output, "--like-source", "--copy"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err.find("AAC"), std::string::npos) << result.err;
    std::vector<std::string> hashes = PictureHashes(source);
    std::reverse(hashes.begin(), hashes.end());
    EXPECT_EQ(PictureHashes(output), hashes);
    EXPECT_EQ(StreamFields(output, "a")["channels"], "6");
    return StreamFields(output, "a")["codec_name"];
  };
  constexpr char kJpeg[] = "mjpeg -pix_fmt yuvj420p";
  EXPECT_EQ(soundOfCopy({"copy_ac3", "mkv", kJpeg, "ac3", "5.1(side)", 48000}), "ac3");
  EXPECT_EQ(soundOfCopy({"copy_dts", "mkv", kJpeg, "dca -strict -2", "5.1(side)", 48000}),
            "pcm_f32le");
}

TEST(LikeSourceRefusals, StandBackForThoseOfTheInput) {
  const CommandResult result =
      RunProgram({"-i", ScratchPath("none.mp4"), "-o", ScratchPath("o.mp4"), "--like-source"});
  EXPECT_NE(result.status, 0);
  EXPECT_NE(result.err.find("does not exist; check the name after -i"), std::string::npos);
}

TEST(LikeSourcePlain, IsLeftOut) {
  const std::string output = ScratchPath("plain.mov");
  const CommandResult result =
      RunProgram({"-i", Source(kProres), "-o", output, "--like-source", "--plain"});
  ASSERT_EQ(result.status, 0);
  EXPECT_NE(result.err.find("--plain leaves --like-source out"), std::string::npos);
  EXPECT_EQ(StreamFields(output, "v")["codec_name"], "h264");
}

}  // namespace
}  // namespace test_support
