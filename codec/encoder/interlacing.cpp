// SPDX-License-Identifier: MIT
#include "codec/encoder/interlacing.h"

#include <string_view>

#include "base/log.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::FFmpegEncoderImpl";

// The encoder whose ways with fields are known.
constexpr std::string_view kFieldCodec = "libx264";

// Both fields have to hold whole samples of color, and pairs of rows at that.
int RowsWanted(int pixelFormat) {
  const AVPixFmtDescriptor* const format =
      av_pix_fmt_desc_get(static_cast<AVPixelFormat>(pixelFormat));
  return 2 << (format == nullptr ? 1 : int{format->log2_chroma_h});
}

bool FitsFields(const EncoderSettings& settings) {
  return settings.height % RowsWanted(settings.videoPixelFormat) == 0;
}

FieldOrder WantedFields(const EncoderSettings& settings) {
  return FieldOrderOf(settings.fieldOrder).value_or(FieldOrder::kProgressive);
}

}  // namespace

FieldOrder EncodedFields(const EncoderSettings& settings, const std::string& codecName) {
  const bool isKept = codecName == kFieldCodec && FitsFields(settings);
  return isKept ? WantedFields(settings) : FieldOrder::kProgressive;
}

// The encoder does without weighted prediction of fields, and would warn of it. What the pictures
// say of their fields would come too late for the first of them.
EncoderOptions FieldOptions(FieldOrder order) {
  if (!IsWoven(order)) return {};
  return {{"weightp", "none"}, {"x264-params", order == FieldOrder::kTopFirst ? "tff=1" : "bff=1"}};
}

int TellFields(const EncoderSettings& settings, AVCodecContext* context) {
  if (!settings.fieldOrder.empty() && !FieldOrderOf(settings.fieldOrder)) {
    log_error(kTag, "Invalid field-order: %s", settings.fieldOrder.c_str());
    return -1;
  }
  const FieldOrder order = EncodedFields(settings, context->codec->name);
  if (order != WantedFields(settings)) {
    if (FitsFields(settings)) {
      log_warn(kTag, "the pictures are interlaced, which %s does not say", context->codec->name);
    } else {
      log_warn(kTag,
               "the pictures are interlaced, which the output does not say: their height, %d, is "
               "no multiple of %d",
               settings.height, RowsWanted(settings.videoPixelFormat));
    }
  }
  if (!IsWoven(order)) return 0;
  context->flags |= AV_CODEC_FLAG_INTERLACED_DCT;
  context->field_order = order == FieldOrder::kTopFirst ? AV_FIELD_TT : AV_FIELD_BB;
  return 0;
}

}  // namespace codec
