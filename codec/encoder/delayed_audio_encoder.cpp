// SPDX-License-Identifier: MIT
#include "codec/encoder/delayed_audio_encoder.h"

#include <cerrno>
#include <limits>
#include <string>

#include "base/log.h"
#include "codec/encoder/encoder_context.h"
#include "codec/encoder/encoder_forms.h"
#include "codec/encoder/own_options.h"
#include "codec/ffmpeg/compat_channels.h"
#include "codec/ffmpeg/error_text.h"
#include "codec/utils/image_utils.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::FFmpegEncoderImpl";

// Floats hold 24 bits; nobody could hear more.
constexpr int kUsefulBits = 24;

}  // namespace

int DelayedAudioEncoder::Create(const EncoderOptions& /*defaults*/) {
  if (Exists() || !mFile->Exists()) {
    log_error(kTag, "Audio stream has existed or AVFormatContext is null.");
    return -1;
  }
  const AVCodec* const codec = avcodec_find_encoder_by_name(mSettings.audioCodec.c_str());
  if (codec == nullptr || codec->type != AVMEDIA_TYPE_AUDIO) {
    mFile->Remember(AVERROR_ENCODER_NOT_FOUND);
    log_error(kTag, "audio codec not found:%s", mSettings.audioCodec.c_str());
    return -1;
  }
  mTrack.stream = mFile->AddStream(codec);
  if (mTrack.stream != nullptr) mContext = NewEncoder(codec, *mFile);
  mFrame.reset(av_frame_alloc());
  if (mContext == nullptr || mFrame == nullptr) {
    mFile->Remember(AVERROR(ENOMEM));
    log_error(kTag, "Could not alloc  audio stream.");
    return -1;
  }
  if (OpenEncoder(codec) != 0 || OpenConverter() != 0) return -1;
  if (mPump.Open(mContext.get()) < 0 ||
      avcodec_parameters_from_context(mTrack.stream->codecpar, mContext.get()) < 0) {
    mFile->Remember(AVERROR(ENOMEM));
    log_error(kTag, "Could not alloc  audio stream.");
    return -1;
  }
  return 0;
}

int DelayedAudioEncoder::OpenEncoder(const AVCodec* codec) {
  AVCodecContext* const context = mContext.get();
  const int bits = mSettings.sampleBits > 0 ? mSettings.sampleBits : kUsefulBits;
  context->sample_fmt = NearestSampleFormat(codec, bits);
  ffmpeg::SetLayout(context, mSettings.channelCount, mSettings.ChannelMask());
  context->sample_rate = mSettings.sampleRate;
  context->time_base = {1, mSettings.sampleRate};
  mTrack.stream->time_base = context->time_base;
  const EncoderOptions options = OwnAudioOptions(mSettings, codec);
  for (const auto& [key, value] : options) {
    log_debug(kTag, "%s parameters: %s = %s", codec->name, key.c_str(), value.c_str());
  }
  const std::string why = SetOwnOptions(context, options);
  if (!why.empty()) {
    log_error(kTag, "%s", why.c_str());
    return -1;
  }
  if (mSettings.sampleRate < 1 || mSettings.channelCount < 1 ||
      OpenContext(context, codec, mFile) < 0) {
    log_error(kTag, "%s does not take sound of %d Hz and %d channels with these settings",
              codec->name, mSettings.sampleRate, mSettings.channelCount);
    return -1;
  }
  return 0;
}

int DelayedAudioEncoder::OpenConverter() {
  const AVCodecContext* const context = mContext.get();
  const uint64_t told = ffmpeg::ChannelMask(context);
  const uint64_t layout = told != 0 ? told : ffmpeg::AnyChannelMask(mSettings.channelCount);
  const AVSampleFormat input =
      av_get_packed_sample_fmt(static_cast<AVSampleFormat>(mSettings.sampleFormat));
  mConverter =
      ffmpeg::NewResampler(layout, context->sample_fmt, layout, input, context->sample_rate);
  if (mConverter != nullptr && swr_init(mConverter.get()) >= 0) return 0;
  log_error(kTag, "sound cannot be converted for %s", context->codec->name);
  return -1;
}

int DelayedAudioEncoder::Encode(const uint8_t* data, size_t size) {
  if (mContext == nullptr) return -1;
  const auto frameBytes = static_cast<size_t>(BytesPerSample(mSettings.sampleFormat)) *
                          static_cast<size_t>(mSettings.channelCount);
  const size_t samples = frameBytes == 0 ? 0 : size / frameBytes;
  if (samples == 0 || samples > static_cast<size_t>(std::numeric_limits<int>::max())) return -1;
  int result = Fill(data, static_cast<int>(samples));
  if (result == 0) result = mPump.Send(mFrame.get());
  if (mFile->Remember(result) == 0) return 0;
  log_error(kTag, "Error encoding audio frame: %s", ffmpeg::ErrorText(result).c_str());
  return -1;
}

int DelayedAudioEncoder::Fill(const uint8_t* data, int samples) {
  AVFrame* const frame = mFrame.get();
  // The encoder may still hold the bytes of the frame before.
  av_frame_unref(frame);
  frame->nb_samples = samples;
  frame->format = mContext->sample_fmt;
  frame->sample_rate = mContext->sample_rate;
  int result = ffmpeg::CopyLayout(frame, mContext.get());
  if (result >= 0) result = av_frame_get_buffer(frame, 0);
  if (result < 0) return result;
  result = swr_convert(mConverter.get(), frame->extended_data, samples, &data, samples);
  if (result != samples) return result < 0 ? result : AVERROR(EINVAL);
  frame->pts = mSamplesTaken;
  mSamplesTaken += samples;
  return 0;
}

int DelayedAudioEncoder::Take(AVPacket* packet) {
  return mFile->WritePacket(packet, mContext->time_base, &mTrack);
}

double DelayedAudioEncoder::LastTime() const {
  if (mContext == nullptr) return 0;
  return static_cast<double>(mSamplesTaken) / mContext->sample_rate;
}

int DelayedAudioEncoder::Drain() {
  const int result = mFile->Remember(mPump.Drain());
  if (result == 0) return AVERROR_EOF;
  log_error(kTag, "error encoding audio frame");
  return -1;
}

void DelayedAudioEncoder::Close() {
  if (!Exists()) return;
  mFrame.reset();
  mContext.reset();
  mTrack.stream = nullptr;
  log_debug(kTag, "free AudioStream");
}

}  // namespace codec
