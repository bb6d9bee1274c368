// SPDX-License-Identifier: MIT
#include "codec/decoder/decoder_choice.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace codec {
namespace {

struct TransparentCodec {
  AVCodecID codec;
  const char* decoder;
};
constexpr std::array<TransparentCodec, 2> kTransparentCodecs = {
    {{AV_CODEC_ID_VP8, "libvpx"}, {AV_CODEC_ID_VP9, "libvpx-vp9"}}};

const TransparentCodec* Find(AVCodecID codec) {
  const auto* const row =
      std::find_if(kTransparentCodecs.begin(), kTransparentCodecs.end(),
                   [codec](const TransparentCodec& each) { return each.codec == codec; });
  return row == kTransparentCodecs.end() ? nullptr : row;
}

}  // namespace

bool HasSecondPicture(const AVStream* stream) {
  const AVDictionaryEntry* const mode = av_dict_get(stream->metadata, "alpha_mode", nullptr, 0);
  return mode != nullptr && std::string_view(mode->value) == "1" &&
         Find(stream->codecpar->codec_id) != nullptr;
}

const AVCodec* ChooseDecoder(const AVStream* stream, bool wantsSecondPicture) {
  const AVCodecID codec = stream->codecpar->codec_id;
  if (wantsSecondPicture && HasSecondPicture(stream)) {
    const AVCodec* const decoder = avcodec_find_decoder_by_name(Find(codec)->decoder);
    if (decoder != nullptr) return decoder;
  }
  return avcodec_find_decoder(codec);
}

AVPixelFormat FormatWithSecondPicture(const AVCodecContext* context) {
  const TransparentCodec* const row = Find(context->codec_id);
  const bool hasSecond = row != nullptr && std::string_view(context->codec->name) == row->decoder;
  return hasSecond && context->pix_fmt == AV_PIX_FMT_YUV420P ? AV_PIX_FMT_YUVA420P
                                                             : context->pix_fmt;
}

}  // namespace codec
