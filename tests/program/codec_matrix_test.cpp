// SPDX-License-Identifier: MIT
// Codecs and containers: whatever ffmpeg itself can write, as the mirror of its source.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "codec/ffmpeg/ffmpeg_headers.h"
#include "tests/support/clips.h"
#include "tests/support/command.h"
#include "tests/support/media_reading.h"
#include "tests/support/same_items.h"

namespace test_support {
namespace {

constexpr int kPictures = 25;
constexpr double kFrame = 0.04;
constexpr std::array kContainers = {"mp4", "mov", "mkv", "webm", "avi", "ts", "ogg"};

// A second of pictures, and of sound that 16 bits hold, both without loss.
std::string Source(const std::string& pixelFormat) {
  std::vector<std::string> words = {"-f", "lavfi", "-i", SceneFilter(400, 128, "25"),
                                    "-f", "lavfi", "-i", SweepFilter(48000, "stereo")};
  AppendWords("-t 1 -c:v ffv1 -c:a pcm_s16le -pix_fmt " + pixelFormat, &words);
  return CustomClip("matrix_" + pixelFormat + ".mkv", words);
}

std::vector<std::string> WithKeys(const std::string& source, const std::string& output,
                                  const std::string& keys) {
  std::vector<std::string> words = {"-i", source, "-o", output};
  std::istringstream list(keys);
  for (std::string key; list >> key;) words.insert(words.end(), {"--set", key});
  return words;
}

// One line per picture: the hash of its bytes.
std::vector<std::string> PictureHashes(const std::string& path, const std::string& pixelFormat) {
  const CommandResult result =
      Run({"ffmpeg", "-v", "error", "-i", path, "-map", "0:v:0", FrameTimingOption(), "passthrough",
           "-pix_fmt", pixelFormat, "-f", "framehash", "-hash", "md5", "-"});
  std::vector<std::string> hashes;
  std::istringstream lines(result.out);
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line[0] == '#') continue;
    hashes.push_back(line.substr(line.rfind(' ') + 1));
  }
  return hashes;
}

// Whether ffmpeg itself writes the pair, and finds the codec again. The whole clip counts: FFmpeg 9
// begins with Vorbis in MP4, and fails at the end.
bool CanBeWritten(const std::string& source, const std::string& coding, const char* kind,
                  const std::string& codec, const std::string& path) {
  std::vector<std::string> words = {"ffmpeg", "-v", "error", "-y", "-i", source};
  AppendWords(coding, &words);
  words.push_back(path);
  // One encoder waits for ever if its container is refused.
  constexpr std::chrono::seconds kLimit(10);
  return Run(words, kLimit).status == 0 && StreamFields(path, kind)["codec_name"] == codec;
}

void ExpectEveryPictureOnce(const std::string& path) {
  const std::vector<Picture> pictures = DecodeLuma(path);
  ASSERT_EQ(pictures.size(), static_cast<size_t>(kPictures)) << path;
  for (int i = 0; i < kPictures; ++i) {
    EXPECT_EQ(ReadFrameNumber(pictures[static_cast<size_t>(i)]), kPictures - 1 - i) << path;
  }
  const std::vector<double> times = VideoTimes(path);
  ASSERT_EQ(times.size(), static_cast<size_t>(kPictures)) << path;
  constexpr double kContainerTick = 0.0015;  // Matroska counts milliseconds
  for (size_t i = 0; i < times.size(); ++i) {
    EXPECT_NEAR(times[i] - times[0], static_cast<double>(i) * kFrame, kContainerTick) << path;
  }
}

// For the table in docs/containers.md, which is made of the report of these tests.
void Record(const std::string& encoder, const std::string& format, const std::string& containers) {
  testing::Test::RecordProperty("encoder", encoder);
  testing::Test::RecordProperty("format", format);
  testing::Test::RecordProperty("containers", containers);
}

struct VideoRow {
  const char* name;
  const char* codec;   // as ffprobe calls it
  const char* source;  // pixel format
  const char* keys;    // of --set
  const char* coding;  // ffmpeg's words for the same
  const char* format;  // pixel format of the output
  bool isLossless = false;
};

void PrintTo(const VideoRow& row, std::ostream* out) { *out << row.name; }

constexpr VideoRow kVideo[] = {
    {"libx264_threads", "h264", "yuv420p",
     "video-codec=libx264 crf=18 preset=fast video-opt:bf=3 thread-count=3 thread-type=frame",
     "-c:v libx264 -bf 3", "yuv420p"},
    {"libx264_high10", "h264", "yuv420p10le", "crf=18 preset=fast profile=high10", "-c:v libx264",
     "yuv420p10le"},
    {"libx264_422", "h264", "yuv422p", "crf=18 preset=fast", "-c:v libx264", "yuv422p"},
    {"libx265", "hevc", "yuv420p", "video-codec=libx265 crf=20 preset=fast", "-c:v libx265",
     "yuv420p"},
    {"libx265_10", "hevc", "yuv420p10le", "video-codec=libx265 crf=20 preset=fast profile=main10",
     "-c:v libx265", "yuv420p10le"},
    {"libvpx", "vp8", "yuv420p",
     "video-codec=libvpx video-opt:deadline=realtime video-opt:cpu-used=8", "-c:v libvpx",
     "yuv420p"},
    {"libvpx_vp9", "vp9", "yuv420p",
     "video-codec=libvpx-vp9 video-opt:deadline=good video-opt:cpu-used=5 video-opt:auto-alt-ref=1 "
     "video-opt:lag-in-frames=16",
     "-c:v libvpx-vp9", "yuv420p"},
    // Faster presets of newer releases show in the pictures.
    {"libsvtav1", "av1", "yuv420p", "video-codec=libsvtav1 preset=8", "-c:v libsvtav1 -preset 8",
     "yuv420p"},
    {"mpeg4", "mpeg4", "yuv420p", "video-codec=mpeg4 qp=3 video-opt:bf=2", "-c:v mpeg4", "yuv420p"},
    {"mpeg2video", "mpeg2video", "yuv420p", "video-codec=mpeg2video video-opt:bf=2",
     "-c:v mpeg2video", "yuv420p"},
    {"mjpeg", "mjpeg", "yuv420p", "video-codec=mjpeg", "-c:v mjpeg -pix_fmt yuvj420p", "yuvj420p"},
    {"prores_ks", "prores", "yuv422p10le", "video-codec=prores_ks", "-c:v prores_ks",
     "yuv422p10le"},
    {"dnxhd", "dnxhd", "yuv422p", "video-codec=dnxhd", "-c:v dnxhd -profile:v dnxhr_hq", "yuv422p"},
    {"dnxhd_10", "dnxhd", "yuv422p10le", "video-codec=dnxhd", "-c:v dnxhd -profile:v dnxhr_hqx",
     "yuv422p10le"},
    {"ffv1", "ffv1", "yuv420p", "video-codec=ffv1", "-c:v ffv1", "yuv420p", true},
    {"ffv1_10", "ffv1", "yuv420p10le", "video-codec=ffv1", "-c:v ffv1", "yuv420p10le", true},
    {"huffyuv", "huffyuv", "yuv422p", "video-codec=huffyuv", "-c:v huffyuv", "yuv422p", true},
};

std::string EncoderOf(const VideoRow& row) {
  constexpr std::string_view kKey = "video-codec=";
  const std::string keys = row.keys;
  const size_t at = keys.find(kKey);
  if (at == std::string::npos) return "libx264";
  const size_t begin = at + kKey.size();
  return keys.substr(begin, keys.find(' ', begin) - begin);
}

class VideoMatrix : public testing::TestWithParam<VideoRow> {};

TEST_P(VideoMatrix, WritesThePicturesIntoEveryContainerThatFfmpegDoes) {
  const VideoRow& row = GetParam();
  if (avcodec_find_encoder_by_name(EncoderOf(row).c_str()) == nullptr) {
    GTEST_SKIP() << "this FFmpeg came before the encoder";
  }
  const std::string source = Source(row.source);
  std::string written;
  for (const std::string container : kContainers) {
    const std::string output = ScratchPath(std::string(row.name) + "." + container);
    std::vector<std::string> words =
        WithKeys(source, output, std::string(row.keys) + " thread-count=2");
    words.emplace_back("--no-sound");
    const CommandResult result = RunProgram(words);
    if (result.status != 0) {
      EXPECT_FALSE(CanBeWritten(source, std::string("-an ") + row.coding, "v", row.codec, output))
          << output << " " << result.err;
      continue;
    }
    written += container + " ";
    std::map<std::string, std::string> fields = StreamFields(output, "v");
    EXPECT_EQ(fields["codec_name"], row.codec) << output;
    EXPECT_EQ(fields["pix_fmt"], row.format) << output;
    ExpectEveryPictureOnce(output);
    if (row.isLossless) {
      std::vector<std::string> hashes = PictureHashes(source, row.source);
      std::reverse(hashes.begin(), hashes.end());
      EXPECT_EQ(PictureHashes(output, row.source), hashes) << output;
    }
  }
  EXPECT_NE(written, "");
  Record(EncoderOf(row), row.format, written);
}

INSTANTIATE_TEST_SUITE_P(Codecs, VideoMatrix, testing::ValuesIn(kVideo),
                         [](const auto& row) { return row.param.name; });

struct AudioRow {
  const char* name;  // of the encoder
  const char* codec;
  bool isLossless;
};

void PrintTo(const AudioRow& row, std::ostream* out) { *out << row.name; }

constexpr AudioRow kAudio[] = {{"aac", "aac", false},
                               {"libopus", "opus", false},
                               {"libvorbis", "vorbis", false},
                               {"libmp3lame", "mp3", false},
                               {"ac3", "ac3", false},
                               {"flac", "flac", true},
                               {"alac", "alac", true},
                               {"pcm_s16le", "pcm_s16le", true},
                               {"pcm_s24le", "pcm_s24le", true},
                               {"pcm_f32le", "pcm_f32le", true}};

// A quick encoder whose pictures the container takes.
std::string QuickVideo(const std::string& container) {
  if (container == "webm") return "libvpx";
  if (container == "ogg") return "libtheora";
  return "mpeg4";
}

constexpr double kRate = 48000;

// Where the middle of a sound lies in another.
struct Place {
  double correlation = 0;
  double late = 0;  // samples
};

Place FindMiddle(const std::vector<float>& mirror, const std::vector<float>& sound) {
  constexpr int kMostLate = 2400;
  const int first = static_cast<int>(mirror.size()) / 2 / 4;
  const int last = first * 3;
  Place best;
  for (int late = -kMostLate; late <= kMostLate; ++late) {
    double product = 0;
    double mirrored = 0;
    double heard = 0;
    for (int i = first; i < last; ++i) {
      const auto at = static_cast<size_t>(i + late) * 2;
      if (at >= sound.size()) break;
      const double a = mirror[static_cast<size_t>(i) * 2];
      const double b = sound[at];
      product += a * b;
      mirrored += a * a;
      heard += b * b;
    }
    const double correlation = product / std::sqrt(mirrored * heard + 1e-9);
    if (correlation > best.correlation) best = {correlation, static_cast<double>(late)};
  }
  return best;
}

// Seconds that the sound is late, less the lead-in of the encoder. A container tells the lead-in by
// the stamps, or has players cut it off. AVI can do neither.
double Unexplained(double late, const std::string& path) {
  constexpr double kLongestLeadIn = 0.024;
  if (path.find(".avi") != std::string::npos) return std::abs(late) - kLongestLeadIn;
  const double leadIn = std::stod(StreamFields(path, "v")["start_time"]) -
                        std::stod(StreamFields(path, "a")["start_time"]);
  return std::min(std::abs(late), std::abs(late - leadIn));
}

class AudioMatrix : public testing::TestWithParam<AudioRow> {};

TEST_P(AudioMatrix, WritesTheSoundIntoEveryContainerThatFfmpegDoes) {
  const AudioRow& row = GetParam();
  const std::string source = Source("yuv420p");
  const std::vector<float> stereo = DecodeStereo(source);
  std::vector<float> mirror(stereo.size());
  for (size_t i = 0; i < stereo.size(); i += 2) {
    mirror[i] = stereo[stereo.size() - 2 - i];
    mirror[i + 1] = stereo[stereo.size() - 1 - i];
  }
  std::string written;
  for (const std::string container : kContainers) {
    const std::string output = ScratchPath(std::string(row.name) + "." + container);
    const std::string video = QuickVideo(container);
    const CommandResult result = RunProgram(WithKeys(
        source, output, "video-codec=" + video + " audio-codec=" + row.name + " thread-count=2"));
    if (result.status != 0) {
      EXPECT_FALSE(
          CanBeWritten(source, "-c:v " + video + " -c:a " + row.name, "a", row.codec, output))
          << output << " " << result.err;
      continue;
    }
    written += container + " ";
    const std::vector<float> sound = DecodeStereo(output);
    if (row.isLossless) {
      EXPECT_TRUE(test_support::SameItems(sound, mirror))
          << output << " " << sound.size() << " of " << mirror.size();
      continue;
    }
    const Place place = FindMiddle(mirror, sound);
    EXPECT_GT(place.correlation, 0.98) << output;
    EXPECT_LT(Unexplained(place.late / kRate, output), 0.002) << output;
  }
  EXPECT_NE(written, "");
  Record(row.name, "", written);
}

INSTANTIATE_TEST_SUITE_P(Codecs, AudioMatrix, testing::ValuesIn(kAudio),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace test_support
