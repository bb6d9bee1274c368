// SPDX-License-Identifier: MIT
#include "tests/codec/encoder/encoder_fixture.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "tests/support/command.h"

namespace codec::encoder_test {
namespace {

constexpr double kPi = 3.14159265358979323846;

void AddSound(MediaFormat* format, const std::string& codec) {
  format->SetInt32("has-audio", 1);
  format->SetString("audio-codec", codec.c_str());
  format->SetInt32("sample-rate", 48000);
  format->SetInt32("channel-count", 2);
  format->SetInt32("sample-format", 8);
}

}  // namespace

MediaFormat VideoFormat(const std::string& path) {
  MediaFormat format;
  format.SetString("output-path", path.c_str());
  format.SetInt32("has-video", 1);
  format.SetString("video-codec", "libx264");
  format.SetString("output-color-format", "yuv420p");
  format.SetInt32("width", kWidth);
  format.SetInt32("height", kHeight);
  format.SetDouble("frame-rate", 25);
  format.SetInt32("gop", 25);
  format.SetInt32("video-bitrate", 300000);
  format.SetInt32("thread-count", 1);
  return format;
}

MediaFormat FilmFormat(const std::string& path) {
  MediaFormat format = VideoFormat(path);
  AddSound(&format, "aac");
  return format;
}

MediaFormat SoundFormat(const std::string& path, const std::string& codec) {
  MediaFormat format;
  format.SetString("output-path", path.c_str());
  format.SetInt32("has-video", 0);
  AddSound(&format, codec);
  return format;
}

void Remove(MediaFormat* format, const std::string& key) {
  MediaFormat rest;
  for (const auto& [name, value] : format->Entries()) {
    if (name != key) rest.SetString(name.c_str(), value.c_str());
  }
  *format = rest;
}

int Configure(FFmpegEncoder* encoder, const MediaFormat& format) {
  for (const auto& [key, value] : format.Entries()) {
    encoder->SetParameter(key.c_str(), value.c_str());
  }
  return encoder->Init("", "");
}

EncoderSettings SettingsOf(const MediaFormat& format) {
  EncoderSettings settings;
  for (const auto& [key, value] : format.Entries()) {
    settings.SetParameter(key.c_str(), value.c_str());
  }
  settings.ResolvePixelFormat();
  return settings;
}

std::vector<uint8_t> Picture(int number, int width, int height) {
  const auto luma = static_cast<size_t>(width) * static_cast<size_t>(height);
  std::vector<uint8_t> bytes(luma + luma / 2, 128);
  for (size_t i = 0; i < luma; ++i) {
    const auto column = static_cast<int>(i % static_cast<size_t>(width));
    bytes[i] = static_cast<uint8_t>(16 + (column + 7 * number) % 200);
  }
  return bytes;
}

std::vector<uint8_t> Tone(int samples, int channels) {
  std::vector<float> values;
  for (int i = 0; i < samples; ++i) {
    for (int channel = 0; channel < channels; ++channel) {
      values.push_back(static_cast<float>(0.4 * std::sin(2 * kPi * 440 * i / 48000)));
    }
  }
  std::vector<uint8_t> bytes(values.size() * sizeof(float));
  std::memcpy(bytes.data(), values.data(), bytes.size());
  return bytes;
}

std::vector<std::string> Texts(const test_support::LogCapture& log, int level) {
  std::vector<std::string> texts;
  for (const test_support::LogLine& line : log.Lines()) {
    if (line.level == level && line.tag == kEncoderTag) texts.push_back(line.text);
  }
  return texts;
}

std::vector<std::string> Probe(const std::string& path, const std::string& kind,
                               const std::string& entries) {
  const test_support::CommandResult result =
      test_support::Run({"ffprobe", "-v", "error", "-select_streams", kind + ":0", "-show_entries",
                         entries, "-of", "default=noprint_wrappers=1:nokey=1", path});
  if (result.status != 0) throw std::runtime_error(result.err);
  std::vector<std::string> values;
  std::istringstream lines(result.out);
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty()) values.push_back(line);
  }
  // Of a file with programs ffprobe prints the streams once more, inside their program.
  const auto half = static_cast<std::ptrdiff_t>(values.size() / 2);
  if (entries.rfind("stream", 0) == 0 && path.rfind(".ts") == path.size() - 3 &&
      std::equal(values.begin(), values.begin() + half, values.begin() + half, values.end())) {
    values.erase(values.begin() + half, values.end());
  }
  return values;
}

std::vector<double> PacketTimes(const std::string& path) {
  std::vector<double> times;
  // AVI has decoding stamps alone; without reordering they are the same.
  const bool avi = path.rfind(".avi") == path.size() - 4;
  for (const std::string& text : Probe(path, "v", avi ? "packet=dts_time" : "packet=pts_time")) {
    times.push_back(std::stod(text));
  }
  return times;
}

int PacketCount(const std::string& path, const std::string& kind) {
  return static_cast<int>(Probe(path, kind, "packet=size").size());
}

std::string ReadBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

ScratchWorkingDirectory::ScratchWorkingDirectory()
    : mBefore(std::filesystem::current_path().string()) {
  const std::string path = test_support::ScratchPath("working-directory");
  std::filesystem::remove_all(path);
  std::filesystem::create_directories(path);
  std::filesystem::current_path(path);
}

ScratchWorkingDirectory::~ScratchWorkingDirectory() { std::filesystem::current_path(mBefore); }

}  // namespace codec::encoder_test
