// SPDX-License-Identifier: MIT
#include "codec/encoder/hdr_metadata.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <string_view>

#include "codec/ffmpeg/compat_rotation.h"

namespace codec {
namespace {

bool ReadMastering(const std::string& text, AVMasteringDisplayMetadata* light) {
  std::array<int, 10> n{};
  const int read = std::sscanf(text.c_str(), "G(%d,%d)B(%d,%d)R(%d,%d)WP(%d,%d)L(%d,%d)", &n[0],
                               &n[1], &n[2], &n[3], &n[4], &n[5], &n[6], &n[7], &n[8], &n[9]);
  if (read != static_cast<int>(n.size())) return false;
  constexpr int kPoint = 50000;
  constexpr int kLuminance = 10000;
  // FFmpeg's order is red, green, blue.
  constexpr std::array<size_t, 3> kFrom = {4, 0, 2};
  for (size_t color = 0; color < kFrom.size(); ++color) {
    light->display_primaries[color][0] = {n[kFrom[color]], kPoint};
    light->display_primaries[color][1] = {n[kFrom[color] + 1], kPoint};
  }
  light->white_point[0] = {n[6], kPoint};
  light->white_point[1] = {n[7], kPoint};
  light->max_luminance = {n[8], kLuminance};
  light->min_luminance = {n[9], kLuminance};
  light->has_primaries = 1;
  light->has_luminance = 1;
  return true;
}

template <typename Data>
Data* NewData(AVStream* stream, AVPacketSideDataType type) {
  return reinterpret_cast<Data*>(ffmpeg::NewSideData(stream, type, sizeof(Data)));
}

}  // namespace

void AddHdrOptions(const EncoderSettings& settings, const AVCodec* encoder,
                   EncoderOptions* options) {
  if (std::string_view(encoder->name) != "libx265") return;
  std::string parameters;
  if (!settings.masteringDisplay.empty()) {
    parameters += ":master-display=" + settings.masteringDisplay;
  }
  if (!settings.contentLight.empty()) parameters += ":max-cll=" + settings.contentLight;
  if (parameters.empty()) return;
  // What was asked for follows, and counts.
  std::string& all = (*options)["x265-params"];
  all = parameters.substr(1) + (all.empty() ? "" : ":" + all);
}

int AddHdrMetadata(const EncoderSettings& settings, AVStream* stream) {
  if (!settings.masteringDisplay.empty()) {
    AVMasteringDisplayMetadata light = {};
    if (!ReadMastering(settings.masteringDisplay, &light)) return AVERROR(EINVAL);
    auto* const data =
        NewData<AVMasteringDisplayMetadata>(stream, AV_PKT_DATA_MASTERING_DISPLAY_METADATA);
    if (data == nullptr) return AVERROR(ENOMEM);
    *data = light;
  }
  if (settings.contentLight.empty()) return 0;
  AVContentLightMetadata light = {};
  if (std::sscanf(settings.contentLight.c_str(), "%u,%u", &light.MaxCLL, &light.MaxFALL) != 2) {
    return AVERROR(EINVAL);
  }
  auto* const data = NewData<AVContentLightMetadata>(stream, AV_PKT_DATA_CONTENT_LIGHT_LEVEL);
  if (data == nullptr) return AVERROR(ENOMEM);
  *data = light;
  return 0;
}

}  // namespace codec
