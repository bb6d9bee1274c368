// SPDX-License-Identifier: MIT
#include "codec/utils/color_keys.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <utility>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {
namespace {

// FFmpeg's names of the number 0 and of a matrix that is none.
constexpr std::array<std::string_view, 3> kNoNames = {"unknown", "unspecified", "gbr"};

std::string Told(const char* name) {
  const std::string_view text = name == nullptr ? "" : name;
  const bool isTold = std::find(kNoNames.begin(), kNoNames.end(), text) == kNoNames.end();
  return isTold ? std::string(text) : std::string();
}

// A stream may say a number that the enumeration cannot hold. To read or to make such a value is
// undefined, so its bytes are read, and numbers from `count` on have no name.
template <typename Enum>
std::string NameOf(const Enum& value, Enum count, const char* (*name)(Enum)) {
  int number = 0;
  static_assert(sizeof(number) == sizeof(value));
  std::memcpy(&number, &value, sizeof(number));
  if (number < 0 || number >= static_cast<int>(count)) return "";
  return Told(name(static_cast<Enum>(number)));
}

enum class Kind { kYuv, kFullYuv, kRgb };

// The converters know by the format alone whether numbers have full range: YUV formats that say so,
// and gray, of which all are full.
Kind KindOf(const AVPixFmtDescriptor& format) {
  const std::string_view name = format.name;
  if ((format.flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) != 0) return Kind::kRgb;
  if (name.substr(0, 4) == "yuvj" || name.substr(0, 4) == "gray") return Kind::kFullYuv;
  // Black and white, and gray with transparency.
  return format.nb_components < 3 ? Kind::kFullYuv : Kind::kYuv;
}

bool HasChromaOf(const AVPixFmtDescriptor& a, const AVPixFmtDescriptor& b) {
  return a.log2_chroma_w == b.log2_chroma_w && a.log2_chroma_h == b.log2_chroma_h;
}

}  // namespace

PictureColors ColorsOf(const AVCodecContext& context) {
  return {NameOf(context.color_range, AVCOL_RANGE_NB, &av_color_range_name),
          NameOf(context.colorspace, AVCOL_SPC_NB, &av_color_space_name),
          NameOf(context.color_primaries, AVCOL_PRI_NB, &av_color_primaries_name),
          NameOf(context.color_trc, AVCOL_TRC_NB, &av_color_transfer_name),
          NameOf(context.chroma_sample_location, AVCHROMA_LOC_NB, &av_chroma_location_name)};
}

PictureColors ConvertedColors(const PictureColors& source, const std::string& inputFormat,
                              const std::string& outputFormat) {
  const AVPixFmtDescriptor* const input = av_pix_fmt_desc_get(av_get_pix_fmt(inputFormat.c_str()));
  const AVPixFmtDescriptor* const output =
      av_pix_fmt_desc_get(av_get_pix_fmt(outputFormat.c_str()));
  PictureColors colors = source;
  if (input == nullptr || output == nullptr || input == output) return colors;
  const Kind kind = KindOf(*input);
  if (kind != Kind::kYuv) colors.range = "tv";
  // The converters know no other.
  if (kind == Kind::kRgb) colors.space = "smpte170m";
  if (!HasChromaOf(*input, *output)) colors.chroma = "center";
  return colors;
}

void SetColorKeys(const PictureColors& colors, MediaFormat* format) {
  const std::array<std::pair<const char*, const std::string*>, 5> keys = {{
      {"color-range", &colors.range},
      {"color-space", &colors.space},
      {"color-primaries", &colors.primaries},
      {"color-trc", &colors.transfer},
      {"chroma-location", &colors.chroma},
  }};
  for (const auto& [key, value] : keys) {
    if (!value->empty()) format->SetString(key, value->c_str());
  }
}

}  // namespace codec
