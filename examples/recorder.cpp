// SPDX-License-Identifier: MIT
// Records a drawn scene and a tone into a file, as a program does that has pictures and sound of
// its own:
//
//   recorder OUTPUT stamp LOGO.png [USE_THREAD]
//       full size, with a logo that wanders from corner to corner
//   recorder OUTPUT turn LOGO.png [USE_THREAD]
//       scaled down and turned upright; writers that scale and turn leave the logo out
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "codec/ffmpeg/log_bridge.h"
#include "codec/format/media_format.h"
#include "codec/writer/media_writer.h"
#include "codec/writer/media_writer_factory.h"

namespace {

constexpr int kWidth = 640;
constexpr int kHeight = 360;
constexpr int kFramesPerSecond = 25;
constexpr int kSeconds = 4;
constexpr int kSampleRate = 48000;
constexpr int kChannels = 2;

codec::MediaFormat Describe(const std::string& output, bool turn, const std::string& logo,
                            int useThread) {
  codec::MediaFormat format;
  format.SetInt32("has-video", 1);
  format.SetString("video-codec", "libx264");
  format.SetInt32("width", kWidth);
  format.SetInt32("height", kHeight);
  format.SetDouble("frame-rate", kFramesPerSecond);
  format.SetInt32("video-bitrate", 2000000);
  format.SetInt32("gop", kFramesPerSecond);
  format.SetString("preset", "superfast");
  format.SetString("input-color-format", "bgra");
  format.SetString("output-color-format", "yuv420p");
  // The number of threads decides how a picture is cut into slices; fixed, every machine writes the
  // same.
  format.SetInt32("thread-count", 1);

  format.SetInt32("has-audio", 1);
  format.SetString("audio-codec", "aac");
  format.SetInt32("audio-bit-rate", 128000);
  format.SetInt32("sample-rate", kSampleRate);
  format.SetInt32("channel-count", kChannels);
  format.SetInt32("sample-format", 8);  // planar float, which the AAC encoder takes

  format.SetInt32("has-water-mark", 1);
  format.SetString("logo-path", logo.c_str());
  format.SetInt32("water-mark-pos", 1);
  format.SetInt32("water-mark-gap", 10);
  if (turn) {
    format.SetInt32("target-width", kWidth / 2);
    format.SetInt32("target-height", kHeight / 2);
    format.SetInt32("rotation", 90);
  }

  // Nothing is late here, so nothing may be dropped or filled in.
  format.SetInt32("auto-discard-video", 0);
  format.SetInt32("auto-discard-audio", 0);
  format.SetInt32("enable-av-sync", 0);
  format.SetInt32("use-thread", useThread);
  format.SetString("output-path", output.c_str());
  return format;
}

// A grey ramp with a bright square that moves along it.
void Draw(int frame, std::vector<uint8_t>* picture) {
  const int left = frame * 6 % (kWidth - 60);
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const bool inSquare = x >= left && x < left + 60 && y >= 150 && y < 210;
      const auto grey = static_cast<uint8_t>(60 + x * 100 / kWidth);
      const std::array<uint8_t, 4> bgra = {inSquare ? uint8_t{40} : grey,
                                           inSquare ? uint8_t{200} : grey,
                                           inSquare ? uint8_t{250} : grey, 255};
      std::copy(bgra.begin(), bgra.end(), picture->begin() + (y * kWidth + x) * 4);
    }
  }
}

// One frame's time of a tone that rises.
void Sound(int frame, std::vector<float>* samples) {
  const int count = kSampleRate / kFramesPerSecond;
  for (int i = 0; i < count; ++i) {
    const double time = (frame * count + i) / static_cast<double>(kSampleRate);
    const auto value = static_cast<float>(0.3 * std::sin(2 * M_PI * (300 + 80 * time) * time));
    for (int channel = 0; channel < kChannels; ++channel) {
      (*samples)[static_cast<size_t>(i * kChannels + channel)] = value;
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    std::fprintf(stderr, "usage: recorder OUTPUT stamp|turn LOGO.png [USE_THREAD]\n");
    return 2;
  }
  codec::ffmpeg::InstallLogBridge();
  codec::MediaFormat format =
      Describe(argv[1], std::string(argv[2]) == "turn", argv[3], argc > 4 ? std::atoi(argv[4]) : 0);
  const std::unique_ptr<codec::MediaWriter> writer(codec::MakeMediaWriter(format));
  if (writer == nullptr || writer->Start() != 0) return 1;

  std::vector<uint8_t> picture(size_t{kWidth} * kHeight * 4);
  std::vector<float> samples(size_t{kSampleRate / kFramesPerSecond} * kChannels);
  for (int frame = 0; frame < kSeconds * kFramesPerSecond; ++frame) {
    const int64_t microseconds = int64_t{frame} * 1000000 / kFramesPerSecond;
    // The next corner every second.
    if (frame % kFramesPerSecond == 0) {
      writer->SetParameter("water-mark-pos", frame / kFramesPerSecond % 4 + 1);
    }
    Draw(frame, &picture);
    writer->WriteFrame(codec::kVideoFrame, picture.data(), static_cast<uint32_t>(picture.size()),
                       microseconds);
    Sound(frame, &samples);
    writer->WriteFrame(codec::kAudioFrame, reinterpret_cast<uint8_t*>(samples.data()),
                       static_cast<uint32_t>(samples.size() * sizeof(float)), microseconds);
  }
  writer->Stop();
  return 0;
}
