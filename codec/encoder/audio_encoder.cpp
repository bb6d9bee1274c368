#include "codec/encoder/audio_encoder.h"

#include <array>

#include "base/log.h"
#include "codec/encoder/encoder_context.h"
#include "codec/encoder/sample_planes.h"
#include "codec/ffmpeg/compat.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::FFmpegEncoderImpl";

// For encoders that take any number of samples at once.
constexpr int kDefaultFrameSize = 1024;

}  // namespace

int AudioEncoder::Create(const EncoderOptions& defaults) {
  if (Exists() || !mFile->Exists()) {
    log_error(kTag, "Audio stream has existed or AVFormatContext is null.");
    return -1;
  }
  const AVCodec* const codec = avcodec_find_encoder_by_name(mSettings.audioCodec.c_str());
  if (codec == nullptr) {
    log_error(kTag, "audio codec not found:%s", mSettings.audioCodec.c_str());
    return -1;
  }
  mTrack.stream = mFile->AddStream(codec);
  if (mTrack.stream != nullptr) mContext = NewEncoder(codec, *mFile);
  mPacket.reset(av_packet_alloc());
  if (mTrack.stream == nullptr || mContext == nullptr || mPacket == nullptr) {
    log_error(kTag, "Could not alloc  audio stream.");
    return -1;
  }

  Describe();
  log_debug(kTag, "audio codec id:%d", static_cast<int>(codec->id));
  log_debug(kTag, "audio codec name:%s", codec->name);
  ApplyOptionsTo(mContext.get(), mSettings, defaults, mSettings.audioCodec);
  if (mSettings.sampleRate < 1 || mSettings.channelCount < 1 ||
      avcodec_open2(mContext.get(), codec, nullptr) < 0) {
    log_error(kTag, "could not open audio codec");
    return -1;
  }
  log_debug(kTag, "cc->frame_size:%d", mContext->frame_size);
  log_debug(kTag, "cc->sample_rate:%d", mContext->sample_rate);
  log_debug(kTag, "cc->channel_layout:%d", static_cast<int>(ffmpeg::ChannelMask(mContext.get())));
  return PrepareFrame();
}

void AudioEncoder::Describe() {
  AVCodecContext* const context = mContext.get();
  context->sample_fmt = static_cast<AVSampleFormat>(mSettings.sampleFormat);
  ffmpeg::SetDefaultLayout(context, mSettings.channelCount);
  context->bit_rate = mSettings.audioBitRate;
  context->sample_rate = mSettings.sampleRate;
  mTrack.stream->time_base = {1, mSettings.sampleRate};
  context->time_base = mTrack.stream->time_base;
}

int AudioEncoder::PrepareFrame() {
  // The room that the first blocks usually need; larger ones make it grow.
  constexpr size_t kStagingBytesPerChannel = 775;
  mStaging.resize(static_cast<size_t>(mSettings.channelCount) * kStagingBytesPerChannel);

  mFrame.reset(av_frame_alloc());
  if (mFrame == nullptr) {
    log_error(kTag, "Error allocating an audio frame.");
    log_error(kTag, "alloc_audio_frame error");
    return -1;
  }
  mFrame->nb_samples = mContext->frame_size < 1 ? kDefaultFrameSize : mContext->frame_size;
  mFrame->format = mContext->sample_fmt;
  mFrame->sample_rate = mContext->sample_rate;
  if (ffmpeg::CopyLayout(mFrame.get(), mContext.get()) < 0 ||
      av_frame_get_buffer(mFrame.get(), 0) < 0) {
    log_error(kTag, "Error allocating an audio buffer");
    log_error(kTag, "alloc_audio_frame error");
    return -1;
  }
  if (avcodec_parameters_from_context(mTrack.stream->codecpar, mContext.get()) < 0) {
    log_error(kTag, "Could not alloc  audio stream.");
    return -1;
  }
  return 0;
}

int AudioEncoder::Encode(const uint8_t* data, size_t size) {
  if (mFrame == nullptr) return -1;
  const auto channels = static_cast<size_t>(mSettings.channelCount);
  const auto sampleBytes = static_cast<size_t>(BytesPerSample(mSettings.sampleFormat));
  const size_t samples = sampleBytes == 0 ? 0 : size / channels / sampleBytes;

  if (mStaging.size() < size) mStaging.resize(size);
  if (NeedsPlanes(mSettings.sampleFormat)) {
    SplitIntoPlanes(data, samples, channels, sampleBytes, mStaging.data());
    data = mStaging.data();
  }
  // The frame keeps the sample count of the encoder, so a short block does not fit it.
  const int filled = avcodec_fill_audio_frame(mFrame.get(), mSettings.channelCount,
                                              static_cast<AVSampleFormat>(mSettings.sampleFormat),
                                              data, static_cast<int>(size), 0);
  if (filled < 0) {
    log_error(kTag, "avcodec_fill_audio_frame failed: %d", filled);
    return -1;
  }
  mFrame->pts =
      av_rescale_q(mSamplesStamped, AVRational{1, mContext->sample_rate}, mContext->time_base);
  mSamplesStamped += mFrame->nb_samples;
  return EncodeFrame(mFrame.get());
}

int AudioEncoder::EncodeFrame(const AVFrame* frame) {
  int result = avcodec_send_frame(mContext.get(), frame);
  if (result < 0) {
    std::array<char, 128> text{};
    av_strerror(result, text.data(), text.size());
    log_error(kTag, "Error encoding audio frame: %s", text.data());
    return -1;
  }
  AVPacket* const packet = mPacket.get();
  for (;;) {
    result = avcodec_receive_packet(mContext.get(), packet);
    if (result == AVERROR(EAGAIN)) return 0;
    if (result == AVERROR_EOF) {
      log_debug(kTag, "audio encode eof");
      return result;
    }
    if (result < 0) {
      log_error(kTag, "error encoding audio frame");
      return -1;
    }
    const ffmpeg::PacketGuard guard(packet);
    if (mFile->WritePacket(packet, mContext->time_base, &mTrack) < 0) {
      log_error(kTag, "Error while writing audio frame.");
    }
  }
}

int AudioEncoder::Drain() { return mContext == nullptr ? 0 : EncodeFrame(nullptr); }

void AudioEncoder::Close() {
  if (!Exists()) return;
  mContext.reset();
  mTrack.stream = nullptr;
  log_debug(kTag, "free AudioStream");
}

}  // namespace codec
