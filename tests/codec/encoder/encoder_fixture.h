// SPDX-License-Identifier: MIT
// What the encoder's tests share: settings of small outputs, pictures and tones to feed them with,
// and a look at the files by way of ffprobe.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "codec/encoder/encoder_settings.h"
#include "codec/encoder/ffmpeg_encoder.h"
#include "codec/encoder/media_encoder.h"
#include "codec/format/media_format.h"
#include "tests/support/log_capture.h"

namespace codec::encoder_test {

constexpr char kEncoderTag[] = "codec::FFmpegEncoderImpl";
constexpr int kWidth = 64;
constexpr int kHeight = 48;

// H.264 at 25 frames/s into this file.
MediaFormat VideoFormat(const std::string& path);
// The same with AAC sound of two channels at 48 kHz, planar float.
MediaFormat FilmFormat(const std::string& path);
// Sound alone.
MediaFormat SoundFormat(const std::string& path, const std::string& codec);
void Remove(MediaFormat* format, const std::string& key);

// Hands all entries to an implementation and initialises it, as the front does.
int Configure(FFmpegEncoder* encoder, const MediaFormat& format);
EncoderSettings SettingsOf(const MediaFormat& format);

// One packed 4:2:0 picture; different numbers give different pictures.
std::vector<uint8_t> Picture(int number, int width = kWidth, int height = kHeight);
// Interleaved float samples.
std::vector<uint8_t> Tone(int samples, int channels = 2);

// Lines of the encoder of one level, in order.
std::vector<std::string> Texts(const test_support::LogCapture& log, int level);

// What ffprobe prints for these entries of the first stream of a kind, one value a line.
std::vector<std::string> Probe(const std::string& path, const std::string& kind,
                               const std::string& entries);
// The stamps of all video packets in seconds, and how many there are of a kind.
std::vector<double> PacketTimes(const std::string& path);
int PacketCount(const std::string& path, const std::string& kind);
std::string ReadBytes(const std::string& path);

// Makes an empty directory the working directory, so that a test decides which files are in it.
class ScratchWorkingDirectory {
 public:
  ScratchWorkingDirectory();
  ~ScratchWorkingDirectory();
  ScratchWorkingDirectory(const ScratchWorkingDirectory&) = delete;
  ScratchWorkingDirectory& operator=(const ScratchWorkingDirectory&) = delete;

 private:
  std::string mBefore;
};

// Feeds pictures at 25 frames/s and, where the encoder asks for it, blocks of sound, until
// `pictures` pictures are in, or so many calls were made that the encoder's wishes make no sense.
// Returns how many calls failed.
template <typename Encoder>
int Feed(Encoder* encoder, int pictures, int width = kWidth, int height = kHeight) {
  int failed = 0;
  const int frameSize = encoder->GetParameter("audio-frame-size");
  for (int next = 0, calls = 0; next < pictures && calls < 100 + 10 * pictures; ++calls) {
    int result = 0;
    if (encoder->GetParameter("next-frame-type") == 2) {
      std::vector<uint8_t> sound = Tone(frameSize);
      result = encoder->EncodeAudio(sound.data(), sound.size());
    } else {
      std::vector<uint8_t> picture = Picture(next, width, height);
      result = encoder->EncodeVideo(picture.data(), 0, int64_t{40000} * next);
      ++next;
    }
    if (result != 0) ++failed;
  }
  return failed;
}

}  // namespace codec::encoder_test
