// SPDX-License-Identifier: MIT
#include "codec/encoder/encoder_forms.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "codec/ffmpeg/compat_encoding.h"

namespace codec {
namespace {

constexpr int kFloatBits = 32;

bool IsFullRangeYuv(AVPixelFormat format) {
  const char* const name = av_get_pix_fmt_name(format);
  return name != nullptr && std::string_view(name).substr(0, 4) == "yuvj";
}

// A software encoder lists its hardware forms too; no picture here has one.
bool IsInMemory(AVPixelFormat format) {
  const AVPixFmtDescriptor* const description = av_pix_fmt_desc_get(format);
  return description != nullptr && (description->flags & AV_PIX_FMT_FLAG_HWACCEL) == 0;
}

std::vector<AVPixelFormat> Formats(const AVCodec* encoder) {
  std::vector<AVPixelFormat> all = ffmpeg::PixelFormats(encoder);
  all.erase(std::remove_if(all.begin(), all.end(), [](AVPixelFormat f) { return !IsInMemory(f); }),
            all.end());
  // Motion JPEG is of full range. Limited formats stand in its list for those who break the rule.
  const auto isLimited = [](AVPixelFormat f) { return !IsFullRangeYuv(f); };
  if (encoder->id == AV_CODEC_ID_MJPEG && !std::all_of(all.begin(), all.end(), isLimited)) {
    all.erase(std::remove_if(all.begin(), all.end(), isLimited), all.end());
  }
  return all;
}

// The format of the same planes whose name does not speak of the range.
AVPixelFormat Ordinary(AVPixelFormat format) {
  if (!IsFullRangeYuv(format)) return format;
  return av_get_pix_fmt(("yuv" + std::string(av_get_pix_fmt_name(format)).substr(4)).c_str());
}

bool Holds(const std::vector<AVPixelFormat>& formats, AVPixelFormat format) {
  return std::find(formats.begin(), formats.end(), format) != formats.end();
}

// Bits of a whole number that a sample holds.
int BitsOf(AVSampleFormat format) {
  switch (av_get_packed_sample_fmt(format)) {
    case AV_SAMPLE_FMT_U8:
      return 8;
    case AV_SAMPLE_FMT_S16:
      return 16;
    case AV_SAMPLE_FMT_S32:
      return 31;
    case AV_SAMPLE_FMT_FLT:
      return kFloatBits;
    default:
      // More bytes than any sample here needs.
      return kFloatBits + 1;
  }
}

}  // namespace

AVPixelFormat OpaqueFormat(AVPixelFormat format) {
  using Names = std::pair<std::string_view, std::string_view>;
  constexpr std::array<Names, 10> kNames = {{{"yuva", "yuv"},
                                             {"gbrap", "gbrp"},
                                             {"rgba64", "rgb48"},
                                             {"bgra64", "bgr48"},
                                             {"rgba", "rgb0"},
                                             {"bgra", "bgr0"},
                                             {"argb", "0rgb"},
                                             {"abgr", "0bgr"},
                                             {"ya8", "gray"},
                                             {"ya16", "gray16"}}};
  const char* const found = av_get_pix_fmt_name(format);
  const std::string name = found == nullptr ? "" : found;
  for (const auto& [with, without] : kNames) {
    if (name.compare(0, with.size(), with) != 0) continue;
    const AVPixelFormat opaque =
        av_get_pix_fmt((std::string(without) + name.substr(with.size())).c_str());
    return opaque == AV_PIX_FMT_NONE ? format : opaque;
  }
  return format;
}

bool IsFullRangeFormat(AVPixelFormat format) {
  const AVPixFmtDescriptor* const description = av_pix_fmt_desc_get(format);
  if (description == nullptr) return false;
  const bool isRgb = (description->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) != 0;
  return isRgb || description->nb_components < 3 || IsFullRangeYuv(format);
}

AVPixelFormat NearestPixelFormat(const AVCodec* encoder, AVPixelFormat source) {
  const AVPixelFormat opaque = OpaqueFormat(source);
  const std::vector<AVPixelFormat> formats = Formats(encoder);
  if (formats.empty() || Holds(formats, opaque)) return opaque;
  if (Holds(formats, Ordinary(opaque))) return Ordinary(opaque);
  AVPixelFormat nearest = formats.front();
  for (const AVPixelFormat format : formats) {
    int loss = 0;
    nearest = av_find_best_pix_fmt_of_2(nearest, format, opaque, 0, &loss);
  }
  return nearest;
}

AVSampleFormat NearestSampleFormat(const AVCodec* encoder, int bits) {
  const std::vector<AVSampleFormat> formats = ffmpeg::SampleFormats(encoder);
  if (formats.empty()) return AV_SAMPLE_FMT_FLT;
  const auto isNearer = [bits](AVSampleFormat a, AVSampleFormat b) {
    const bool aHolds = BitsOf(a) >= bits;
    const bool bHolds = BitsOf(b) >= bits;
    if (aHolds != bHolds) return aHolds;
    return aHolds ? BitsOf(a) < BitsOf(b) : BitsOf(a) > BitsOf(b);
  };
  return *std::min_element(formats.begin(), formats.end(), isNearer);
}

AVRational NearestFrameRate(const AVCodec* encoder, AVRational rate) {
  const std::vector<AVRational> rates = ffmpeg::FrameRates(encoder);
  if (rates.empty()) return rate;
  return *std::min_element(rates.begin(), rates.end(), [rate](AVRational a, AVRational b) {
    return std::abs(av_q2d(a) - av_q2d(rate)) < std::abs(av_q2d(b) - av_q2d(rate));
  });
}

}  // namespace codec
