// SPDX-License-Identifier: MIT
#include "codec/ffmpeg/compat_rotation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "codec/ffmpeg/releases.h"
#include "codec/utils/orientation.h"

extern "C" {
#include <libavutil/display.h>
}

namespace codec::ffmpeg {
namespace {

constexpr size_t kDisplayMatrixBytes = 9 * sizeof(int32_t);
constexpr int kLargestFixedPoint = 0x7fff;

const int32_t* DisplayMatrix(const AVStream* stream) {
#if HAS_PARAMETER_SIDE_DATA
  const AVPacketSideData* data =
      av_packet_side_data_get(stream->codecpar->coded_side_data,
                              stream->codecpar->nb_coded_side_data, AV_PKT_DATA_DISPLAYMATRIX);
  if (data == nullptr || data->size < kDisplayMatrixBytes) return nullptr;
  return reinterpret_cast<const int32_t*>(data->data);
#else
  return reinterpret_cast<const int32_t*>(
      av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr));
#endif
}

// The muxers that store a display matrix in the track header.
bool IsMovFamily(const AVOutputFormat* format) {
  constexpr std::array<std::string_view, 8> kNames = {"mp4", "mov", "ipod", "3gp",
                                                      "3g2", "psp", "f4v",  "ismv"};
  return std::find(kNames.begin(), kNames.end(), format->name) != kNames.end();
}

}  // namespace

std::string RotateText(const AVFormatContext* input, const AVStream* stream) {
  if (const AVDictionaryEntry* tag = av_dict_get(stream->metadata, "rotate", nullptr, 0)) {
    return tag->value;
  }
  // Only the MP4 demuxer of FFmpeg 4 turned a matrix into the tag.
  if (std::strstr(input->iformat->name, "mp4") == nullptr) return {};
  const int32_t* matrix = DisplayMatrix(stream);
  if (matrix == nullptr) return {};
  double degrees = -av_display_rotation_get(matrix);
  if (std::isnan(degrees)) return {};
  if (degrees < 0) degrees += 360;
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%g", degrees);
  return text.data();
}

std::optional<int> MatrixOrientation(const AVStream* stream) {
  const int32_t* const matrix = DisplayMatrix(stream);
  if (matrix == nullptr) return std::nullopt;
  return OrientationOf(matrix);
}

bool KeepsRotation(const AVOutputFormat* format) { return IsMovFamily(format); }

uint8_t* NewSideData(AVStream* stream, AVPacketSideDataType type, size_t bytes) {
#if HAS_PARAMETER_SIDE_DATA
  AVPacketSideData* data = av_packet_side_data_new(
      &stream->codecpar->coded_side_data, &stream->codecpar->nb_coded_side_data, type, bytes, 0);
  return data == nullptr ? nullptr : data->data;
#else
  return av_stream_new_side_data(stream, type, bytes);
#endif
}

int CopySideData(AVStream* to, const AVStream* from) {
#if HAS_PARAMETER_SIDE_DATA
  static_cast<void>(to);
  static_cast<void>(from);
#else
  for (int i = 0; i < from->nb_side_data; ++i) {
    const AVPacketSideData& data = from->side_data[i];
    uint8_t* const bytes = av_stream_new_side_data(to, data.type, data.size);
    if (bytes == nullptr) return AVERROR(ENOMEM);
    std::copy_n(data.data, data.size, bytes);
  }
#endif
  return 0;
}

int SetRotation(const AVOutputFormat* format, AVStream* stream, const char* degrees) {
  const int result = av_dict_set(&stream->metadata, "rotate", degrees, 0);
  const int angle = std::atoi(degrees);
  if (!IsMovFamily(format) || (angle != 90 && angle != 180 && angle != 270)) return result;
  auto* const matrix = reinterpret_cast<int32_t*>(
      NewSideData(stream, AV_PKT_DATA_DISPLAYMATRIX, kDisplayMatrixBytes));
  if (matrix == nullptr) return AVERROR(ENOMEM);
  av_display_rotation_set(matrix, angle);
  // The turned picture is moved back into view: by its height, its width or both, in 16.16 fixed
  // point, which ends at 32767.
  const int32_t width = std::min(stream->codecpar->width, kLargestFixedPoint) * 65536;
  const int32_t height = std::min(stream->codecpar->height, kLargestFixedPoint) * 65536;
  matrix[6] = angle == 90 ? height : angle == 180 ? width : 0;
  matrix[7] = angle == 180 ? height : angle == 270 ? width : 0;
  return result;
}

}  // namespace codec::ffmpeg
