// SPDX-License-Identifier: MIT
#include "reverse/output_description.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "base/log.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::Reverse";

// FFmpeg's number of planar 32-bit floats, which the AAC encoder takes.
constexpr int kPlanarFloat = 8;

struct BitRateRow {
  int64_t pixels;  // of the smallest picture that the row is for
  int32_t normal;  // bit/s up to 40 frames per second
  int32_t fast;    // bit/s above
};

constexpr std::array<BitRateRow, 6> kBitRates = {{
    {int64_t{3840} * 2160, 35000000, 53000000},
    {int64_t{2560} * 1440, 16000000, 24000000},
    {int64_t{1920} * 1080, 8000000, 12000000},
    {int64_t{1280} * 720, 5000000, 7500000},
    {int64_t{854} * 480, 2500000, 4000000},
    {0, 1000000, 1500000},
}};

// The turns that a container can ask of a player; everything else counts as upright.
int RotationCode(double degrees) {
  const double whole = std::trunc(degrees);
  for (const int turn : {90, 180, 270}) {
    if (whole == turn) return turn;
  }
  return 0;
}

int32_t AudioBitRate(int32_t sourceBitRate) {
  // The sound is encoded a second time. If the source has a low rate, a generous rate keeps the
  // second loss small.
  constexpr int32_t kLowest = 128000;
  constexpr int32_t kGenerous = 384000;
  return sourceBitRate < kLowest ? kGenerous : sourceBitRate;
}

// One key frame a second. A header may claim any rate, even one that does not fit an int.
int KeyFrameDistance(float frameRate) {
  constexpr float kMost = 1e9F;
  return static_cast<int>(std::min(frameRate, kMost));
}

int Refuse(const char* what, int value) {
  log_error(kTag, "error %s:%d", what, value);
  return -1;
}

int Check(const MediaInfo& info, bool hasAudio) {
  // First, because the other values mean nothing without video. So the error of a sound file names
  // what is missing.
  if (info.has_video == 0) return Refuse("has_video", 0);
  if (!(info.frame_rate > 0)) return Refuse("fps", static_cast<int>(info.frame_rate));
  if (info.width < 1) return Refuse("width", info.width);
  if (info.height < 1) return Refuse("height", info.height);
  if (hasAudio && info.sample_rate < 1) return Refuse("sample_rate", info.sample_rate);
  if (hasAudio && info.channels < 1) return Refuse("channel", info.channels);
  return 0;
}

}  // namespace

EncoderSettings UsualEncoders(const std::string& outputPath) {
  EncoderSettings usual;
  usual.takesAnyEncoder = true;
  usual.hasAudio = true;
  usual.outputPath = outputPath;
  usual.videoCodec = kVideoEncoder;
  usual.audioCodec = kAudioEncoder;
  return usual;
}

int32_t VideoBitRate(int64_t pixels, float frameRate) {
  for (const BitRateRow& row : kBitRates) {
    if (pixels >= row.pixels) return frameRate > 40 ? row.fast : row.normal;
  }
  return kBitRates.back().normal;
}

int DescribeOutput(const MediaInfo& info, bool hasAudio, const std::string& outputPath,
                   MediaFormat& format) {
  if (Check(info, hasAudio) != 0) return -1;
  const int64_t pixels = static_cast<int64_t>(info.width) * info.height;
  const int32_t videoBitRate = VideoBitRate(pixels, info.frame_rate);

  format.SetInt32("has-video", info.has_video);
  format.SetInt32("has-audio", hasAudio ? 1 : 0);
  format.SetInt32("width", info.width);
  format.SetInt32("height", info.height);
  format.SetInt32("rotate", RotationCode(info.rotation));
  format.SetDouble("frame-rate", info.frame_rate);
  format.SetInt32("video-bitrate", videoBitRate);
  format.SetInt32("sample_aspect_den", info.sample_aspect_den);
  format.SetInt32("sample_aspect_num", info.sample_aspect_num);
  format.SetInt32("audio-bit-rate",
                  hasAudio ? AudioBitRate(info.audio_bit_rate) : info.audio_bit_rate);
  format.SetInt32("sample-rate", info.sample_rate);
  format.SetInt32("channel-count", info.channels);
  format.SetInt32("sample-format", kPlanarFloat);
  format.SetInt32("gop", KeyFrameDistance(info.frame_rate));
  format.SetInt32("maxrate", videoBitRate);
  format.SetInt32("bufsize", 5 * videoBitRate);
  format.SetString("profile", "baseline");
  format.SetString("level", "2.1");
  format.SetString("preset", "superfast");
  format.SetString("audio-codec", kAudioEncoder);
  format.SetString("video-codec", kVideoEncoder);
  format.SetString("input-color-format", info.pixel_format_name.c_str());
  format.SetString("output-color-format", "yuv420p");
  format.SetString("output-path", outputPath.c_str());
  format.SetInt32("enable-noise-suppression", 0);
  // Everything that the loop hands over is wanted: nothing is dropped, nothing invented.
  format.SetInt32("enable-av-sync", 0);
  format.SetInt32("auto-discard-video", 0);
  format.SetInt32("auto-discard-audio", 0);
  return 0;
}

}  // namespace codec
