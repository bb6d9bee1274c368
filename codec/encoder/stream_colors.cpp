// SPDX-License-Identifier: MIT
#include "codec/encoder/stream_colors.h"

#include <array>

#include "base/log.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::FFmpegEncoderImpl";

struct ColorRow {
  const char* key;
  std::string EncoderSettings::*name;
  int (*find)(const char* name);
  void (*set)(AVCodecContext* context, int value);
};

using S = EncoderSettings;
constexpr std::array<ColorRow, 5> kRows = {{
    {"color-range", &S::colorRange, &av_color_range_from_name,
     [](AVCodecContext* context, int value) {
       context->color_range = static_cast<AVColorRange>(value);
     }},
    {"color-space", &S::colorSpace, &av_color_space_from_name,
     [](AVCodecContext* context, int value) {
       context->colorspace = static_cast<AVColorSpace>(value);
     }},
    {"color-primaries", &S::colorPrimaries, &av_color_primaries_from_name,
     [](AVCodecContext* context, int value) {
       context->color_primaries = static_cast<AVColorPrimaries>(value);
     }},
    {"color-trc", &S::colorTransfer, &av_color_transfer_from_name,
     [](AVCodecContext* context, int value) {
       context->color_trc = static_cast<AVColorTransferCharacteristic>(value);
     }},
    {"chroma-location", &S::chromaLocation, &av_chroma_location_from_name,
     [](AVCodecContext* context, int value) {
       context->chroma_sample_location = static_cast<AVChromaLocation>(value);
     }},
}};

}  // namespace

int SetColors(const EncoderSettings& settings, AVCodecContext* context) {
  for (const ColorRow& row : kRows) {
    const std::string& name = settings.*row.name;
    if (name.empty()) continue;
    const int value = row.find(name.c_str());
    if (value < 0) {
      log_error(kTag, "Invalid %s: %s", row.key, name.c_str());
      return -1;
    }
    row.set(context, value);
  }
  return 0;
}

}  // namespace codec
