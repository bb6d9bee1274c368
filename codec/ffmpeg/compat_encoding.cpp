// SPDX-License-Identifier: MIT
#include "codec/ffmpeg/compat_encoding.h"

#include "codec/ffmpeg/releases.h"

namespace codec::ffmpeg {

int EncodeOne(AVCodecContext* context, AVPacket* packet, const AVFrame* frame, int* gotPacket) {
  *gotPacket = 0;
  int result = avcodec_send_frame(context, frame);
  if (result < 0) return result;
  result = avcodec_receive_packet(context, packet);
  if (result == AVERROR(EAGAIN)) return 0;
  if (result < 0) return result;
  *gotPacket = 1;
  if (packet->duration == 0) packet->duration = 1;
  return 0;
}

UniqueOutput NewMuxer(const AVOutputFormat* format, const char* path) {
  AVFormatContext* context = nullptr;
  avformat_alloc_output_context2(&context, const_cast<AVOutputFormat*>(format), nullptr, path);
  return UniqueOutput(context);
}

AVCodecID UsualCodec(const AVOutputFormat* format, const char* path, AVMediaType kind) {
  return av_guess_codec(const_cast<AVOutputFormat*>(format), nullptr, path, nullptr, kind);
}

namespace {

// The values of a list that ends with `end`; none if there is no list.
template <typename Value, typename IsEnd>
std::vector<Value> Listed(const void* list, const IsEnd& isEnd) {
  std::vector<Value> all;
  if (list == nullptr) return all;
  for (const auto* value = static_cast<const Value*>(list); !isEnd(*value); ++value) {
    all.push_back(*value);
  }
  return all;
}

#if HAS_SUPPORTED_CONFIG
const void* Supported(const AVCodec* encoder, AVCodecConfig config) {
  const void* list = nullptr;
  const int result = avcodec_get_supported_config(nullptr, encoder, config, 0, &list, nullptr);
  return result < 0 ? nullptr : list;
}
#define LIST_OF(encoder, config, member) Supported(encoder, config)
#else
#define LIST_OF(encoder, config, member) (encoder)->member
#endif

}  // namespace

std::vector<int> SampleRates(const AVCodec* encoder) {
  const void* const list = LIST_OF(encoder, AV_CODEC_CONFIG_SAMPLE_RATE, supported_samplerates);
  return Listed<int>(list, [](int rate) { return rate == 0; });
}

std::vector<uint64_t> ChannelMasks(const AVCodec* encoder) {
#if HAS_CHANNEL_LAYOUT
  const void* const list = LIST_OF(encoder, AV_CODEC_CONFIG_CHANNEL_LAYOUT, ch_layouts);
  std::vector<uint64_t> masks;
  const auto isEnd = [](const AVChannelLayout& layout) { return layout.nb_channels == 0; };
  for (const AVChannelLayout& layout : Listed<AVChannelLayout>(list, isEnd)) {
    if (MaskOf(layout) != 0) masks.push_back(MaskOf(layout));
  }
  return masks;
#else
  return Listed<uint64_t>(encoder->channel_layouts, [](uint64_t mask) { return mask == 0; });
#endif
}

std::vector<AVPixelFormat> PixelFormats(const AVCodec* encoder) {
  const void* const list = LIST_OF(encoder, AV_CODEC_CONFIG_PIX_FORMAT, pix_fmts);
  return Listed<AVPixelFormat>(list, [](AVPixelFormat f) { return f == AV_PIX_FMT_NONE; });
}

std::vector<AVSampleFormat> SampleFormats(const AVCodec* encoder) {
  const void* const list = LIST_OF(encoder, AV_CODEC_CONFIG_SAMPLE_FORMAT, sample_fmts);
  return Listed<AVSampleFormat>(list, [](AVSampleFormat f) { return f == AV_SAMPLE_FMT_NONE; });
}

std::vector<AVRational> FrameRates(const AVCodec* encoder) {
  const void* const list = LIST_OF(encoder, AV_CODEC_CONFIG_FRAME_RATE, supported_framerates);
  return Listed<AVRational>(list, [](AVRational rate) { return rate.num == 0; });
}

}  // namespace codec::ffmpeg
