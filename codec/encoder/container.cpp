// SPDX-License-Identifier: MIT
#include "codec/encoder/container.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "codec/ffmpeg/compat.h"

namespace codec {
namespace {

constexpr std::array kCodecs = {std::pair{AV_CODEC_ID_H264, "H.264"},
                                std::pair{AV_CODEC_ID_AAC, "AAC"}};

// FFmpeg's flag for containers that may vary is not set for all of them.
constexpr std::array<std::string_view, 3> kFixedRateContainers = {"avi", "mxf", "mxf_opatom"};

}  // namespace

const AVOutputFormat* ChooseContainer(const char* path) {
  const AVOutputFormat* format = av_guess_format(nullptr, path, nullptr);
  return format != nullptr ? format : av_guess_format("mpeg", nullptr, nullptr);
}

bool HasFixedRate(const AVOutputFormat& format) {
  return std::find(kFixedRateContainers.begin(), kFixedRateContainers.end(), format.name) !=
         kFixedRateContainers.end();
}

bool TellsRotation(const char* path) {
  const AVOutputFormat* const format = ChooseContainer(path);
  return format != nullptr && ffmpeg::KeepsRotation(format);
}

const char* CodecNotTaken(const char* path) {
  const AVOutputFormat* const format = ChooseContainer(path);
  // Transport streams take both and answer for neither.
  if (format == nullptr || std::string_view(format->name) == "mpegts") return nullptr;
  // Releases differ in whether one that is not taken is refused or merely not known of.
  for (const auto& [codec, name] : kCodecs) {
    if (avformat_query_codec(format, codec, FF_COMPLIANCE_NORMAL) != 1) return name;
  }
  return nullptr;
}

bool WritesSeveralFiles(const char* path) {
  const AVOutputFormat* const format = ChooseContainer(path);
  return format != nullptr && (format->flags & AVFMT_NOFILE) != 0;
}

}  // namespace codec
