// SPDX-License-Identifier: MIT
#include "codec/encoder/encoder_context.h"

#include <cerrno>

namespace codec {

ffmpeg::UniqueCodecContext NewEncoder(const AVCodec* codec, const OutputFile& file) {
  ffmpeg::UniqueCodecContext context(avcodec_alloc_context3(codec));
  if (context == nullptr) return nullptr;
  context->codec_type = codec->type;
  context->codec_id = codec->id;
  if (file.WantsGlobalHeader()) context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  return context;
}

int OpenContext(AVCodecContext* context, const AVCodec* codec, OutputFile* file) {
  const int result = avcodec_open2(context, codec, nullptr);
  if (result >= 0) return 0;
  return file->Remember(result == AVERROR(ENOMEM) ? result : AVERROR(EINVAL));
}

int ApplyOptionsTo(AVCodecContext* context, const EncoderSettings& settings,
                   const EncoderOptions& defaults, const std::string& codecName) {
  const bool audio = context->codec_type == AVMEDIA_TYPE_AUDIO;
  EncoderOptions options = defaults;
  ApplyEncoderOptions(settings, codecName, audio, &options);
  const int flags =
      AV_OPT_FLAG_ENCODING_PARAM | (audio ? AV_OPT_FLAG_AUDIO_PARAM : AV_OPT_FLAG_VIDEO_PARAM);
  const char prefix = audio ? 'a' : 'v';
  const int result = SetOptions(context, options, flags, prefix);
  if (result < 0 || context->codec->priv_class == nullptr) return result;
  return SetOptions(context->priv_data, options, flags, prefix);
}

}  // namespace codec
