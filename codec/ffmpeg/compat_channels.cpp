// SPDX-License-Identifier: MIT
#include "codec/ffmpeg/compat_channels.h"

#include <array>

#include "codec/ffmpeg/releases.h"

namespace codec::ffmpeg {

namespace {

// Of a codec's context, a frame or a stream's parameters.
template <typename Holder>
int CountIn(const Holder& holder) {
#if HAS_CHANNEL_LAYOUT
  return holder.ch_layout.nb_channels;
#else
  return holder.channels;
#endif
}

template <typename Holder>
uint64_t MaskIn(const Holder& holder) {
#if HAS_CHANNEL_LAYOUT
  return MaskOf(holder.ch_layout);
#else
  return holder.channel_layout;
#endif
}

}  // namespace

int Channels(const AVCodecContext* context) { return CountIn(*context); }
int Channels(const AVFrame* frame) { return CountIn(*frame); }
int Channels(const AVCodecParameters* parameters) { return CountIn(*parameters); }

uint64_t ChannelMask(const AVCodecContext* context) { return MaskIn(*context); }
uint64_t ChannelMask(const AVFrame* frame) { return MaskIn(*frame); }

uint64_t DefaultChannelMask(int channels) {
#if HAS_CHANNEL_LAYOUT
  AVChannelLayout layout = {};
  av_channel_layout_default(&layout, channels);
  const uint64_t mask = MaskOf(layout);
  av_channel_layout_uninit(&layout);
  return mask;
#else
  return static_cast<uint64_t>(av_get_default_channel_layout(channels));
#endif
}

void SetDefaultLayout(AVCodecContext* context, int channels) {
#if HAS_CHANNEL_LAYOUT
  av_channel_layout_uninit(&context->ch_layout);
  av_channel_layout_default(&context->ch_layout, channels);
#else
  context->channels = channels;
  context->channel_layout = static_cast<uint64_t>(av_get_default_channel_layout(channels));
#endif
}

uint64_t AnyChannelMask(int channels) {
  constexpr int kMost = 63;
  return channels < 1 || channels > kMost ? 0 : (uint64_t{1} << channels) - 1;
}

void SetLayout(AVCodecContext* context, int channels, uint64_t mask) {
  if (mask == 0 || av_popcount64(mask) != channels) return SetDefaultLayout(context, channels);
#if HAS_CHANNEL_LAYOUT
  av_channel_layout_uninit(&context->ch_layout);
  av_channel_layout_from_mask(&context->ch_layout, mask);
#else
  context->channels = channels;
  context->channel_layout = mask;
#endif
}

std::string LayoutName(int channels, uint64_t mask) {
  std::array<char, 256> name{};
  if (mask == 0) return std::to_string(channels) + " channels";
#if HAS_CHANNEL_LAYOUT
  AVChannelLayout layout = {};
  av_channel_layout_from_mask(&layout, mask);
  av_channel_layout_describe(&layout, name.data(), name.size());
#else
  av_get_channel_layout_string(name.data(), static_cast<int>(name.size()), channels, mask);
#endif
  return name.data();
}

int CopyLayout(AVFrame* frame, const AVCodecContext* context) {
#if HAS_CHANNEL_LAYOUT
  return av_channel_layout_copy(&frame->ch_layout, &context->ch_layout);
#else
  frame->channels = context->channels;
  frame->channel_layout = context->channel_layout;
  return 0;
#endif
}

namespace {

UniqueResampler NewConverter(uint64_t outMask, AVSampleFormat outFormat, int outRate,
                             uint64_t inMask, AVSampleFormat inFormat, int inRate) {
#if HAS_CHANNEL_LAYOUT
  AVChannelLayout out = {};
  AVChannelLayout in = {};
  if (av_channel_layout_from_mask(&out, outMask) < 0) return nullptr;
  if (av_channel_layout_from_mask(&in, inMask) < 0) return nullptr;
  SwrContext* resampler = nullptr;
  const int result =
      swr_alloc_set_opts2(&resampler, &out, outFormat, outRate, &in, inFormat, inRate, 0, nullptr);
  UniqueResampler owned(resampler);
  return result < 0 ? nullptr : std::move(owned);
#else
  return UniqueResampler(swr_alloc_set_opts(nullptr, static_cast<int64_t>(outMask), outFormat,
                                            outRate, static_cast<int64_t>(inMask), inFormat, inRate,
                                            0, nullptr));
#endif
}

}  // namespace

UniqueResampler NewResampler(uint64_t outMask, AVSampleFormat outFormat, uint64_t inMask,
                             AVSampleFormat inFormat, int sampleRate) {
  return NewConverter(outMask, outFormat, sampleRate, inMask, inFormat, sampleRate);
}

UniqueResampler NewRateConverter(int inRate, int outRate, uint64_t mask) {
  UniqueResampler converter =
      NewConverter(mask, AV_SAMPLE_FMT_FLT, outRate, mask, AV_SAMPLE_FMT_FLT, inRate);
  if (converter == nullptr) return nullptr;
  // Twice the usual length, which leaves errors at -80 dB.
  av_opt_set_int(converter.get(), "filter_size", 64, 0);
  av_opt_set_double(converter.get(), "cutoff", 0.97, 0);
  return converter;
}

}  // namespace codec::ffmpeg
