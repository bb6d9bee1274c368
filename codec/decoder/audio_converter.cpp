// SPDX-License-Identifier: MIT
#include "codec/decoder/audio_converter.h"

#include <algorithm>

#include "base/log.h"
#include "codec/decoder/decoder_tag.h"
#include "codec/ffmpeg/compat_channels.h"

namespace codec {
namespace {

// No codec's frame comes near it; demuxers cut uncompressed sound far shorter still.
constexpr int kMinRoomSamples = 131072;
// Keeps a header that claims an absurd sample rate from asking for gigabytes.
constexpr int kMaxRoomSamples = 1 << 22;

SoundLayout Completed(int channels, uint64_t mask) {
  // A mask that does not name every channel cannot describe the frame.
  if (av_popcount64(mask) != channels) mask = 0;
  if (mask == 0) mask = ffmpeg::DefaultChannelMask(channels);
  return {channels, mask};
}

int BitsOf(const AVCodecContext* context) {
  constexpr int kMostDelivered = 24;
  switch (av_get_packed_sample_fmt(context->sample_fmt)) {
    case AV_SAMPLE_FMT_U8:
      return 8;
    case AV_SAMPLE_FMT_S16:
      return 16;
    case AV_SAMPLE_FMT_S32:
      return kMostDelivered;
    default:
      return 32;
  }
}

const char* NameOf(AVSampleFormat format) {
  const char* const name = av_get_sample_fmt_name(format);
  return name == nullptr ? "unknown" : name;
}

}  // namespace

SoundLayout LayoutOf(const AVCodecContext* context) {
  return Completed(ffmpeg::Channels(context), ffmpeg::ChannelMask(context));
}

SoundLayout LayoutOf(const AVFrame* frame) {
  return Completed(ffmpeg::Channels(frame), ffmpeg::ChannelMask(frame));
}

void AudioConverter::SetTarget(const SoundLayout& target) {
  if (mTarget == target) return;
  mTarget = target;
  mForm.reset();
  mResampler.reset();
}

// Two channels are left and right whatever their mask says.
bool AudioConverter::IsTarget(const SoundForm& form) const {
  constexpr int kNamed = 2;
  return form.format == kTargetFormat && form.layout.channels == mTarget.channels &&
         (mTarget.channels <= kNamed || form.layout.mask == mTarget.mask);
}

int AudioConverter::Open(const AVCodecContext* context) {
  mSampleRate = context->sample_rate;
  const SoundForm form = {context->sample_fmt, LayoutOf(context)};
  mSourceBits = BitsOf(context);
  mDeliveredFormat = IsTarget(form) ? form.format : kTargetFormat;
  if (!IsTarget(form)) {
    log_debug(kDecoderTag, "audio sample format is %s, convert it to %s ", NameOf(form.format),
              NameOf(kTargetFormat));
  }
  if (mSampleRate <= 0 || !SetForm(form)) {
    log_error(kDecoderTag, "Could not convert audio of format %s, %d channels, %d Hz",
              NameOf(form.format), form.layout.channels, mSampleRate);
    return -1;
  }
  mRoomSamples = std::clamp(mSampleRate, kMinRoomSamples, kMaxRoomSamples);
  return 0;
}

bool AudioConverter::SetForm(const SoundForm& form) {
  if (mForm == form) return true;
  mForm.reset();
  mResampler.reset();
  if (!IsTarget(form)) {
    mResampler = NewResampler(form);
    // By itself it keeps the weights below 1 only for whole numbers, which cannot go beyond.
    if (mNormalizes && mResampler != nullptr) {
      av_opt_set_double(mResampler.get(), "rematrix_maxval", 1, 0);
    }
    if (mResampler == nullptr || swr_init(mResampler.get()) < 0) {
      mResampler.reset();
      return false;
    }
  }
  mForm = form;
  return true;
}

// Channels whose places nobody knows can be copied, but not mixed.
ffmpeg::UniqueResampler AudioConverter::NewResampler(const SoundForm& form) const {
  uint64_t from = form.layout.mask;
  uint64_t to = mTarget.mask;
  if (from == 0 && form.layout == mTarget) {
    from = ffmpeg::AnyChannelMask(mTarget.channels);
    to = from;
  }
  if (from == 0 || to == 0 || form.format == AV_SAMPLE_FMT_NONE) return nullptr;
  return ffmpeg::NewResampler(to, kTargetFormat, from, form.format, mSampleRate);
}

void AudioConverter::AdaptChangesFrom(const AVFrame* first) {
  mFirstRate = first->sample_rate;
  mFirstChannels = ffmpeg::Channels(first);
}

int AudioConverter::Deliver(const AVFrame* frame, uint8_t* buffer) {
  if (frame->nb_samples <= 0) return -1;
  const bool adapts = mFirstRate > 0;
  const bool hasRate = adapts ? frame->sample_rate > 0 : frame->sample_rate == mSampleRate;
  if (!hasRate) return Drop("audio frame has another sample rate");
  // A stream may change its form in its middle, and with AAC the first frame may bring out that a
  // stream announced as mono is stereo.
  if (!SetForm({static_cast<AVSampleFormat>(frame->format), LayoutOf(frame)})) {
    return Drop("audio frame has a form that cannot be converted");
  }
  if (frame->nb_samples > mRoomSamples) return Drop("audio frame is too long");
  const int bytes = IsConverting() ? Convert(frame, buffer) : Copy(frame, buffer);
  if (bytes < 0) return Drop("audio frame could not be converted");
  mDrops.Delivered();
  if (adapts) WarnOfChange(frame);
  return bytes;
}

void AudioConverter::WarnOfChange(const AVFrame* frame) {
  const int channels = ffmpeg::Channels(frame);
  const bool isFirst = frame->sample_rate == mFirstRate && channels == mFirstChannels;
  if (mHasWarned || isFirst) return;
  mHasWarned = true;
  log_warn(kDecoderTag,
           "sound is %d Hz with %d channels instead of %d Hz with %d, such sound is converted",
           frame->sample_rate, channels, mFirstRate, mFirstChannels);
}

int AudioConverter::Copy(const AVFrame* frame, uint8_t* buffer) {
  const int channels = mWholeBlocks ? mTarget.channels : 1;
  const int bytes = av_get_bytes_per_sample(static_cast<AVSampleFormat>(frame->format)) *
                    frame->nb_samples * channels;
  std::copy_n(frame->data[0], bytes, buffer);
  return bytes;
}

int AudioConverter::Convert(const AVFrame* frame, uint8_t* buffer) {
  // Older releases take the input planes without the inner const.
  const int samples =
      swr_convert(mResampler.get(), &buffer, frame->nb_samples,
                  const_cast<const uint8_t**>(frame->extended_data), frame->nb_samples);
  if (mFailure.Note(samples) < 0) return -1;
  mConvertedSeconds += static_cast<double>(samples) / frame->sample_rate;
  if (samples == 0) return 0;
  return av_samples_get_buffer_size(nullptr, mTarget.channels, samples, kTargetFormat, 1);
}

int AudioConverter::Drop(const char* reason) {
  mDrops.Dropped(reason);
  return -1;
}

}  // namespace codec
