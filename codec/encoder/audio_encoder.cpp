// SPDX-License-Identifier: MIT
#include "codec/encoder/audio_encoder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <thread>
#include <utility>

#include "base/log.h"
#include "codec/encoder/encoder_context.h"
#include "codec/encoder/sample_planes.h"
#include "codec/ffmpeg/compat_channels.h"
#include "codec/utils/image_utils.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::FFmpegEncoderImpl";

}  // namespace

int AudioEncoder::Create(const EncoderOptions& defaults) {
  if (Exists() || !mFile->Exists()) {
    log_error(kTag, "Audio stream has existed or AVFormatContext is null.");
    return -1;
  }
  const AVCodec* const codec = avcodec_find_encoder_by_name(mSettings.audioCodec.c_str());
  if (codec == nullptr) {
    mFile->Remember(AVERROR_ENCODER_NOT_FOUND);
    log_error(kTag, "audio codec not found:%s", mSettings.audioCodec.c_str());
    return -1;
  }
  mTrack.stream = mFile->AddStream(codec);
  if (mTrack.stream != nullptr) mContext = NewEncoder(codec, *mFile);
  if (mTrack.stream == nullptr || mContext == nullptr) {
    mFile->Remember(AVERROR(ENOMEM));
    log_error(kTag, "Could not alloc  audio stream.");
    return -1;
  }

  Describe();
  log_debug(kTag, "audio codec id:%d", static_cast<int>(codec->id));
  log_debug(kTag, "audio codec name:%s", codec->name);
  const int applied =
      mFile->Remember(ApplyOptionsTo(mContext.get(), mSettings, defaults, mSettings.audioCodec));
  if (applied < 0 || mSettings.sampleRate < 1 || mSettings.channelCount < 1 ||
      OpenContext(mContext.get(), codec, mFile) < 0) {
    log_error(kTag, "could not open audio codec");
    return -1;
  }
  log_debug(kTag, "cc->frame_size:%d", mContext->frame_size);
  log_debug(kTag, "cc->sample_rate:%d", mContext->sample_rate);
  log_debug(kTag, "cc->channel_layout:%d", static_cast<int>(ffmpeg::ChannelMask(mContext.get())));
  return PrepareJobs();
}

void AudioEncoder::Describe() {
  AVCodecContext* const context = mContext.get();
  context->sample_fmt = static_cast<AVSampleFormat>(mSettings.sampleFormat);
  ffmpeg::SetLayout(context, mSettings.channelCount, mSettings.ChannelMask());
  // FFmpeg's choice stands in for a negative one, which the AAC encoder of 4.3 crashes at.
  if (mSettings.audioBitRate >= 0) context->bit_rate = mSettings.audioBitRate;
  context->sample_rate = mSettings.sampleRate;
  mTrack.stream->time_base = {1, mSettings.sampleRate};
  context->time_base = mTrack.stream->time_base;
}

int AudioEncoder::PrepareJobs() {
  for (AudioJob& job : mJobs) {
    if (job.Prepare(mContext.get()) == 0) continue;
    mFile->Remember(AVERROR(ENOMEM));
    log_error(kTag, "alloc_audio_frame error");
    return -1;
  }
  if (avcodec_parameters_from_context(mTrack.stream->codecpar, mContext.get()) < 0) {
    mFile->Remember(AVERROR(ENOMEM));
    log_error(kTag, "Could not alloc  audio stream.");
    return -1;
  }
  // Newer releases would store the encoder's lead-in in a Matroska file, where older ones move all
  // stamps by it. MP4 takes it from the stamps.
  mTrack.stream->codecpar->initial_padding = 0;
  return 0;
}

int AudioEncoder::Encode(const uint8_t* data, size_t size) {
  if (mPending == kMostPending) mFile->WritePending();
  AudioJob& job = mJobs[mPending];
  if (job.frame == nullptr || Fill(&job, data, size) != 0) return -1;
  // What encoders may refuse is encoded in turn, so that the answer is this frame's own.
  mIsRegular = mIsRegular && AreUsualSamples(job.staging.data(), size, mSettings.sampleFormat);
  if (EncodesBeside()) {
    mThread->Submit(&job);
    ++mPending;
    mFile->Await(this, mContext->time_base, &mTrack);
    return std::exchange(mLateResult, 0);
  }
  mFile->WritePending();
  job.Encode(mContext.get(), job.frame.get());
  LearnDelay(job);
  const int result = WritePackets(&job);
  const int late = std::exchange(mLateResult, 0);
  return result != 0 ? result : late;
}

// Copies the samples into the job.
int AudioEncoder::Fill(AudioJob* job, const uint8_t* data, size_t size) {
  const auto channels = static_cast<size_t>(mSettings.channelCount);
  const auto sampleBytes = static_cast<size_t>(BytesPerSample(mSettings.sampleFormat));
  const size_t samples = sampleBytes == 0 ? 0 : size / channels / sampleBytes;

  // What FFmpeg cannot count is no frame of any encoder.
  if (size > static_cast<size_t>(std::numeric_limits<int>::max())) {
    log_error(kTag, "avcodec_fill_audio_frame failed: %d", AVERROR(EINVAL));
    return -1;
  }
  if (job->staging.size() < size) job->staging.resize(size);
  uint8_t* const staging = job->staging.data();
  if (NeedsPlanes(mSettings.sampleFormat)) {
    SplitIntoPlanes(data, samples, channels, sampleBytes, staging);
  } else {
    std::copy_n(data, size, staging);
  }
  AVFrame* const frame = job->frame.get();
  // Filling allocates a list of planes for more than eight channels and forgets an older one.
  if (frame->extended_data != frame->data) av_freep(&frame->extended_data);
  // The frame keeps the sample count of the encoder, so a short block does not fit it.
  const int filled = avcodec_fill_audio_frame(frame, mSettings.channelCount,
                                              static_cast<AVSampleFormat>(mSettings.sampleFormat),
                                              staging, static_cast<int>(size), 0);
  if (mFile->Remember(filled) < 0) {
    log_error(kTag, "avcodec_fill_audio_frame failed: %d", filled);
    return -1;
  }
  frame->pts =
      av_rescale_q(mSamplesStamped, AVRational{1, mContext->sample_rate}, mContext->time_base);
  mSamplesStamped += frame->nb_samples;
  return 0;
}

bool AudioEncoder::EncodesBeside() {
  if (!mDelay.has_value() || !mIsRegular) return false;
  if (mThread == nullptr) {
    mThread = std::make_unique<AudioEncodeThread>(mContext.get());
    if (std::thread::hardware_concurrency() > 1) mThread->Start();
  }
  return mThread->HasThread();
}

double AudioEncoder::LastTime() const {
  if (mPending == 0) return mTrack.lastTime;
  const AVRational timeBase = mTrack.stream->time_base;
  const int64_t stamp = mJobs[mPending - 1].frame->pts - *mDelay;
  return static_cast<double>(av_rescale_q(stamp, mContext->time_base, timeBase)) * av_q2d(timeBase);
}

AVPacket* AudioEncoder::Next() {
  if (mNextJob == 0 && mNextPacket == 0 && mPending > 0) mThread->Finish();
  for (; mNextJob < mPending; ++mNextJob, mNextPacket = 0) {
    AudioJob& job = mJobs[mNextJob];
    if (mNextPacket == 0) LearnDelay(job);
    if (mNextPacket < job.packetCount) return job.packets[mNextPacket++].get();
    if (Conclude(job) != 0) mLateResult = -1;
  }
  mPending = 0;
  mNextJob = 0;
  return nullptr;
}

void AudioEncoder::Written(int result) {
  if (result < 0) log_error(kTag, "Error while writing audio frame.");
}

void AudioEncoder::LearnDelay(const AudioJob& job) {
  const bool isRegular = job.packetCount == 1 && job.packets[0]->pts != AV_NOPTS_VALUE;
  // The first frames may fill the encoder and give nothing yet.
  if (job.packetCount == 0 && !mDelay.has_value()) return;
  const int64_t delay = isRegular ? job.frame->pts - job.packets[0]->pts : 0;
  mIsRegular = mIsRegular && isRegular && delay == mDelay.value_or(delay);
  mDelay = delay;
}

int AudioEncoder::WritePackets(AudioJob* job) {
  for (size_t i = 0; i < job->packetCount; ++i) {
    AVPacket* const packet = job->packets[i].get();
    const ffmpeg::PacketGuard guard(packet);
    Written(mFile->WritePacket(packet, mContext->time_base, &mTrack));
  }
  return Conclude(*job);
}

// What the encoder has said after the last packet of a frame: 0, AVERROR_EOF, or -1 after an error
// line.
int AudioEncoder::Conclude(const AudioJob& job) {
  if (job.sendResult < 0) {
    // A second call to drain is told of the end, which is no failure.
    if (job.sendResult != AVERROR_EOF) mFile->Remember(job.sendResult);
    std::array<char, 128> text{};
    av_strerror(job.sendResult, text.data(), text.size());
    log_error(kTag, "Error encoding audio frame: %s", text.data());
    return -1;
  }
  if (job.receiveResult == AVERROR(EAGAIN)) return 0;
  if (job.receiveResult == AVERROR_EOF) {
    log_debug(kTag, "audio encode eof");
    return AVERROR_EOF;
  }
  mFile->Remember(job.receiveResult);
  log_error(kTag, "error encoding audio frame");
  return -1;
}

int AudioEncoder::Drain() {
  if (mContext == nullptr) return 0;
  mFile->WritePending();
  AudioJob& job = mJobs.front();
  job.Encode(mContext.get(), nullptr);
  return WritePackets(&job);
}

void AudioEncoder::Close() {
  if (!Exists()) return;
  if (mPending > 0) mFile->Await(nullptr, {0, 1}, nullptr);
  mThread.reset();
  mPending = 0;
  mNextJob = 0;
  mNextPacket = 0;
  mLateResult = 0;
  mDelay.reset();
  mIsRegular = true;
  for (AudioJob& job : mJobs) job = AudioJob();
  mContext.reset();
  mTrack.stream = nullptr;
  log_debug(kTag, "free AudioStream");
}

}  // namespace codec
