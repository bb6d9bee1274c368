// SPDX-License-Identifier: MIT
#include "codec/encoder/sound_layouts.h"

#include <algorithm>
#include <array>
#include <vector>

#include "codec/encoder/encoder_forms.h"
#include "codec/encoder/sample_rates.h"
#include "codec/ffmpeg/compat_channels.h"
#include "codec/ffmpeg/compat_encoding.h"
#include "codec/ffmpeg/owned.h"

namespace codec {
namespace {

constexpr int kUsefulBits = 24;

// AAC has numbers for these. It spells other places out, which few players read.
constexpr std::array<uint64_t, 7> kAacNumbered = {
    AV_CH_LAYOUT_MONO,    AV_CH_LAYOUT_STEREO,       AV_CH_LAYOUT_SURROUND,
    AV_CH_LAYOUT_4POINT0, AV_CH_LAYOUT_5POINT0_BACK, AV_CH_LAYOUT_5POINT1_BACK,
    AV_CH_LAYOUT_7POINT1};

// Loudspeakers at the sides are also said to be at the back, as long as there are no others.
uint64_t Folded(uint64_t mask) {
  constexpr uint64_t kSides = AV_CH_SIDE_LEFT | AV_CH_SIDE_RIGHT;
  constexpr uint64_t kBacks = AV_CH_BACK_LEFT | AV_CH_BACK_RIGHT;
  return (mask & kSides) == kSides && (mask & kBacks) == 0 ? (mask & ~kSides) | kBacks : mask;
}

uint64_t NumberedMask(const AVCodec* encoder, uint64_t mask) {
  if (encoder->id != AV_CODEC_ID_AAC) return 0;
  const auto place = std::find_if(kAacNumbered.begin(), kAacNumbered.end(),
                                  [mask](uint64_t m) { return Folded(m) == Folded(mask); });
  return place == kAacNumbered.end() ? 0 : *place;
}

// Encoders that list their layouts may take fewer of them, and others list none. So the encoder
// itself is asked. What it says against a layout is no error.
bool Takes(const AVCodec* encoder, const SoundLayout& layout, int rate) {
  const ffmpeg::UniqueCodecContext context(avcodec_alloc_context3(encoder));
  if (context == nullptr) return false;
  context->log_level_offset = AV_LOG_MAX_OFFSET;
  context->sample_fmt = NearestSampleFormat(encoder, kUsefulBits);
  context->sample_rate = rate;
  context->time_base = {1, rate};
  ffmpeg::SetLayout(context.get(), layout.channels, layout.mask);
  return avcodec_open2(context.get(), encoder, nullptr) >= 0;
}

std::vector<SoundLayout> Candidates(const AVCodec* encoder, const SoundLayout& layout) {
  std::vector<SoundLayout> all;
  const auto add = [&all](int channels, uint64_t mask) {
    if (mask != 0) all.push_back({channels, mask});
  };
  add(layout.channels, NumberedMask(encoder, layout.mask));
  all.push_back(layout);
  add(layout.channels, ffmpeg::DefaultChannelMask(layout.channels));
  std::vector<uint64_t> listed = ffmpeg::ChannelMasks(encoder);
  const auto shared = [&layout](uint64_t mask) {
    return av_popcount64(Folded(mask) & Folded(layout.mask));
  };
  std::stable_sort(listed.begin(), listed.end(),
                   [&shared](uint64_t a, uint64_t b) { return shared(a) > shared(b); });
  for (const uint64_t mask : listed) {
    if (av_popcount64(mask) == layout.channels) add(layout.channels, mask);
  }
  for (int fewer = layout.channels - 1; fewer > 0; --fewer) {
    add(fewer, ffmpeg::DefaultChannelMask(fewer));
  }
  return all;
}

}  // namespace

SoundLayout NearestLayout(const char* encoder, const SoundLayout& layout, int rate) {
  const AVCodec* const codec = avcodec_find_encoder_by_name(encoder);
  if (codec == nullptr || codec->type != AVMEDIA_TYPE_AUDIO) return layout;
  const int encoded = NearestSampleRate(encoder, rate);
  for (const SoundLayout& candidate : Candidates(codec, layout)) {
    if (Takes(codec, candidate, encoded)) return candidate;
  }
  return layout;
}

}  // namespace codec
