// SPDX-License-Identifier: MIT
// Looks at media files by way of the ffmpeg and ffprobe programs, which share no code with ours
// beyond FFmpeg itself.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace test_support {

// The frame number in a test clip: `kNumberBits` cells of `kNumberCell` pixels square in the top
// left corner, the least significant bit first, white for 1.
constexpr int kNumberBits = 10;
constexpr int kNumberCell = 40;

struct Picture {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> luma;  // packed 8-bit rows
};

// The number shown in a picture of a test clip.
int ReadFrameNumber(const Picture& picture);

// All pictures of a file as 8-bit luma, turned by nothing, in presentation order, each once.
std::vector<Picture> DecodeLuma(const std::string& path);

// Time stamps of all video frames in seconds, in presentation order.
std::vector<double> VideoTimes(const std::string& path);

// All sound of a file as stereo float samples, interleaved, at its own rate.
std::vector<float> DecodeStereo(const std::string& path);

// The fields that ffprobe prints for the first stream of a kind ("v" or "a"), and for the
// container.
std::map<std::string, std::string> StreamFields(const std::string& path, const std::string& kind);
std::map<std::string, std::string> ContainerFields(const std::string& path);

// "tt", "bb" or "progressive": the field order of the first video stream. FFmpeg 4 tells none of
// H.264 in MP4 and MOV; there the first picture is asked.
std::string ToldFieldOrder(const std::string& path);

// When a file ends, in seconds of its stamps, as its container says. FFmpeg works the length of
// MPEG streams out from the first stamp on; others tell it from 0 on. If a file begins later, only
// its packets say what is meant. They decide, too, if its streams tell other ends than the file.
double EndTime(const std::string& path);

// Peak signal-to-noise ratio in dB of the luma of two pictures of one size; 100 for equal ones.
double Psnr(const Picture& a, const Picture& b);

}  // namespace test_support
