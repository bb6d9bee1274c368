// SPDX-License-Identifier: MIT
#include "codec/utils/image_utils.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <limits>
#include <locale>
#include <sstream>
#include <string_view>

#include "base/ini_file.h"
#include "codec/ffmpeg/ffmpeg_headers.h"
#include "codec/utils/numbers.h"

namespace codec {
namespace {

// Bits of a pixel, averaged over the planes.
struct FormatBits {
  std::string_view name;
  int bits;
};

// The numbers are the spellings under which some callers pass the YV12 and NV21 layouts.
constexpr std::array<FormatBits, 13> kFormatBits = {{
    {"yuv420p", 12},
    {"nv12", 12},
    {"nv21", 12},
    {"yuv420psp", 12},
    {"yv12", 12},
    {"842094169", 12},
    {"17", 12},
    {"rgba", 32},
    {"rgb24", 24},
    {"bgr24", 24},
    {"bgr4_byte", 8},
    {"rgb4_byte", 8},
    {"rgb8", 8},
}};
constexpr int kOtherBits = 32;

struct SampleBytes {
  AVSampleFormat format;
  int bytes;
};

constexpr std::array<SampleBytes, 10> kSampleBytes = {{
    {AV_SAMPLE_FMT_U8, 1},
    {AV_SAMPLE_FMT_U8P, 1},
    {AV_SAMPLE_FMT_S16, 2},
    {AV_SAMPLE_FMT_S16P, 2},
    {AV_SAMPLE_FMT_S32, 4},
    {AV_SAMPLE_FMT_S32P, 4},
    {AV_SAMPLE_FMT_FLT, 4},
    {AV_SAMPLE_FMT_FLTP, 4},
    {AV_SAMPLE_FMT_DBL, 8},
    {AV_SAMPLE_FMT_DBLP, 8},
}};

// Null for a name outside the table.
const FormatBits* FindFormat(const char* name) {
  const auto* const row =
      std::find_if(kFormatBits.begin(), kFormatBits.end(),
                   [name](const FormatBits& format) { return format.name == name; });
  return row == kFormatBits.end() ? nullptr : row;
}

int RoundedDown(int size, float factor, int multiple) {
  const int64_t scaled = TruncateToInt(static_cast<float>(size) * factor);
  return static_cast<int>(scaled - scaled % multiple);
}

}  // namespace

int FrameSize(int width, int height, const char* formatName) {
  const FormatBits* const row = FindFormat(formatName);
  const int bits = row == nullptr ? kOtherBits : row->bits;
  const int64_t pixels = int64_t{width} * height;
  constexpr int64_t kMaxBytes = std::numeric_limits<int>::max();
  // Far outside, the product with the bits would not fit 64 bits either.
  if (pixels > kMaxBytes || pixels < -kMaxBytes) return -1;
  const int64_t bytes = pixels * bits / 8;
  return bytes > kMaxBytes || bytes < -kMaxBytes ? -1 : static_cast<int>(bytes);
}

int PictureBufferSize(int width, int height, const char* formatName) {
  const int named = FrameSize(width, height, formatName);
  if (named < 0 || FindFormat(formatName) != nullptr) return named;
  return std::max(named, av_image_get_buffer_size(av_get_pix_fmt(formatName), width, height, 1));
}

bool IsUsablePictureSize(int width, int height) {
  // WithSlack(4 * pixels) solved for the pixels: the product itself might not fit 64 bits.
  constexpr int64_t kMaxPixels = (std::numeric_limits<int>::max() - int64_t{64}) / 6;
  return width >= 0 && height >= 0 && int64_t{width} * height <= kMaxPixels;
}

int BytesPerSample(int sampleFormat) {
  const auto* const row = std::find_if(
      kSampleBytes.begin(), kSampleBytes.end(),
      [sampleFormat](const SampleBytes& sample) { return sample.format == sampleFormat; });
  return row == kSampleBytes.end() ? 0 : row->bytes;
}

int AudioBufferSize(int samples, int channels, int sampleFormat) {
  const int sampleBytes = BytesPerSample(sampleFormat);
  if (sampleBytes < 1 || samples < 1 || channels < 1) return -1;
  const int64_t perChannel = int64_t{sampleBytes} * samples;
  if (perChannel > std::numeric_limits<int>::max() / channels) return -1;
  return static_cast<int>(perChannel * channels);
}

int ScaledSize(int width, int height, float factor, int multiple, int* scaledWidth,
               int* scaledHeight) {
  if (scaledWidth == nullptr || scaledHeight == nullptr || multiple == 0) return -1;
  *scaledWidth = RoundedDown(width, factor, multiple);
  *scaledHeight = RoundedDown(height, factor, multiple);
  return 0;
}

bool FileExists(const char* path) {
  struct stat status = {};
  return stat(path, &status) == 0;
}

std::string IntToText(int value) {
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  stream << value;
  return stream.fail() ? std::string() : stream.str();
}

std::string ReadIniText(const char* path, const char* section, const char* key,
                        const char* fallback) {
  std::array<char, 1024> text{};
  GetPrivateProfileStringA(section, key, fallback, text.data(), static_cast<uint32_t>(text.size()),
                           path);
  return text.data();
}

}  // namespace codec
