// SPDX-License-Identifier: MIT
#include "tests/reverse/literal_decoder.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <stdexcept>

#include "codec/decoder/ffmpeg_decoder.h"
#include "codec/ffmpeg/compat_channels.h"
#include "codec/ffmpeg/compat_decoding.h"

namespace codec {
namespace {

constexpr int kStereo = 2;
constexpr uint64_t kStereoMask = 3;
constexpr AVSampleFormat kDelivered = AV_SAMPLE_FMT_FLT;
constexpr int kSeekAnywhere = AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY;

}  // namespace

LiteralDecoder::LiteralDecoder(const std::string& path, Landing landing)
    : mPath(path), mLanding(landing), mFrame(av_frame_alloc()), mPacket(av_packet_alloc()) {
  OpenInput();
  mDuration = static_cast<float>(mInput->duration) / 1000000.0F;
  mVideo = OpenStream(AVMEDIA_TYPE_VIDEO, &mVideoIndex);
  mAudio = OpenStream(AVMEDIA_TYPE_AUDIO, &mAudioIndex);
  if (mVideo == nullptr) throw std::runtime_error("no pictures in " + path);
  if (mAudio != nullptr) OpenConverter();
  if (mLanding != Landing::kOpened) ScanKeyInterval();
  mVideo->skip_loop_filter = AVDISCARD_NONREF;
}

void LiteralDecoder::OpenInput() {
  AVFormatContext* input = nullptr;
  const int result = avformat_open_input(&input, mPath.c_str(), nullptr, nullptr);
  mInput.reset(input);
  if (result != 0 || avformat_find_stream_info(input, nullptr) < 0) {
    throw std::runtime_error("cannot open " + mPath);
  }
}

ffmpeg::UniqueCodecContext LiteralDecoder::OpenStream(AVMediaType type, int* index) {
  *index = av_find_best_stream(mInput.get(), type, -1, -1, nullptr, 0);
  if (*index < 0) return nullptr;
  const AVStream* stream = mInput->streams[*index];
  const AVCodec* codec = avcodec_find_decoder(stream->codecpar->codec_id);
  if (codec == nullptr) return nullptr;
  ffmpeg::UniqueCodecContext context = ffmpeg::NewDecoder(stream, codec);
  context->thread_count = 1;
  if (avcodec_open2(context.get(), codec, nullptr) < 0) return nullptr;
  return context;
}

void LiteralDecoder::OpenConverter() {
  const int channels = ffmpeg::Channels(mAudio.get());
  if (mAudio->sample_fmt == kDelivered && channels == kStereo) return;
  uint64_t mask = ffmpeg::ChannelMask(mAudio.get());
  if (mask == 0) mask = ffmpeg::DefaultChannelMask(channels);
  mConverter =
      ffmpeg::NewResampler(kStereoMask, kDelivered, mask, mAudio->sample_fmt, mAudio->sample_rate);
  if (swr_init(mConverter.get()) < 0) throw std::runtime_error("no converter for " + mPath);
}

// The distance of the key pictures serves other seeks. But what is read for it makes the index that
// some demuxers seek by.
void LiteralDecoder::ScanKeyInterval() {
  int keys = 0;
  int others = 0;
  while (ReadPacket()) {
    const ffmpeg::PacketGuard guard(mPacket.get());
    if (mPacket->stream_index != mVideoIndex) continue;
    const bool isKey = (mPacket->flags & AV_PKT_FLAG_KEY) != 0;
    if (isKey && keys > 0 && others > 0) break;
    keys += isKey ? 1 : 0;
    others += !isKey && keys > 0 ? 1 : 0;
  }
  av_seek_frame(mInput.get(), mVideoIndex, 0, AVSEEK_FLAG_BACKWARD);
  Flush();
}

size_t LiteralDecoder::UnsettledBlocks() const {
  return HasAudio() && mAudio->codec_id == AV_CODEC_ID_MP3 ? 3 : 0;
}

int LiteralDecoder::Seek(double exact) {
  // 1. Times count from the first frames.
  if (mNeedsTimeProbe) ProbeTimes();
  mIsSoundAlone = false;
  // 2. The demuxer goes to the whole second, decoders begin anew.
  const auto seconds =
      static_cast<float>(std::clamp(double{static_cast<float>(exact)}, 0.0, mDuration));
  mWholeSeconds = std::trunc(seconds);
  Land(mWholeSeconds);
  // 3. At the start no picture is in the way.
  if (seconds == 0) return 0;
  // 4. Pictures alone are decoded, up to the first one at or after the time, which is used up.
  for (;;) {
    const int result = avcodec_receive_frame(mVideo.get(), mFrame.get());
    if (result == 0) {
      const ffmpeg::FrameGuard guard(mFrame.get());
      const double time = VideoTime();
      if (time > seconds + FLT_EPSILON || std::fabs(time - seconds) < FLT_EPSILON) return 0;
      // Better: newer decoders of FFmpeg may give several pictures for a packet, and take no other
      // one before.
      continue;
    }
    if (result != AVERROR(EAGAIN)) {
      // Better: the sound after the last picture is read, from this second on.
      mIsSoundAlone = true;
      Land(0);
      return -1;
    }
    bool hasPacket = ReadPacket();
    while (hasPacket && mPacket->stream_index != mVideoIndex) {
      av_packet_unref(mPacket.get());
      hasPacket = ReadPacket();
    }
    if (hasPacket) {
      SendPacket();
    } else {
      avcodec_send_packet(mVideo.get(), nullptr);
    }
  }
}

void LiteralDecoder::ProbeTimes() {
  mNeedsTimeProbe = false;
  if (mLanding != Landing::kOpened) {
    avformat_seek_file(mInput.get(), -1, 0, 0, 0, kSeekAnywhere);
    Flush();
  }
  mFirstVideo = 0;
  mFirstAudio = 0;
  bool needsVideo = true;
  bool needsAudio = HasAudio();
  double firstVideo = 0;
  double firstAudio = 0;
  const auto receive = [this](const auto& decoder, bool* needs) {
    if (!*needs) return false;
    const int result = avcodec_receive_frame(decoder.get(), mFrame.get());
    *needs = result != 0 && result != AVERROR_EOF;
    return result == 0;
  };
  for (;;) {
    if (receive(mVideo, &needsVideo)) firstVideo = VideoTime();
    if (receive(mAudio, &needsAudio)) firstAudio = AudioTime();
    if (!needsVideo && !needsAudio) break;
    if (ReadPacket()) {
      SendPacket();
    } else {
      SendEnd();
    }
  }
  mFirstVideo = firstVideo;
  mFirstAudio = firstAudio;
}

void LiteralDecoder::Land(double wholeSeconds) {
  const auto target =
      mLanding == Landing::kAsked ? static_cast<int64_t>(wholeSeconds * 1000000) : int64_t{0};
  if (mLanding == Landing::kOpened) {
    OpenInput();
  } else if (target != 0) {
    av_seek_frame(mInput.get(), -1, target, AVSEEK_FLAG_BACKWARD);
  } else if (avformat_seek_file(mInput.get(), -1, INT64_MIN, 0, 0, kSeekAnywhere) < 0) {
    // Better: some demuxers cannot seek to the start.
    OpenInput();
  }
  Flush();
}

int LiteralDecoder::Receive(LiteralFrame* frame) {
  bool isVideoDone = mIsSoundAlone;
  bool isAudioDone = mAudio == nullptr;
  for (;;) {
    if (!isVideoDone) {
      const int result = avcodec_receive_frame(mVideo.get(), mFrame.get());
      if (result == 0) {
        DeliverVideo(frame);
        return 0;
      }
      if (result != AVERROR(EAGAIN)) isVideoDone = true;
    }
    if (mAudio != nullptr) {
      const int result = avcodec_receive_frame(mAudio.get(), mFrame.get());
      if (result == 0) {
        if (mIsSoundAlone && AudioTime() < mWholeSeconds) continue;
        DeliverAudio(frame);
        return 0;
      }
      if (result != AVERROR(EAGAIN)) isAudioDone = true;
    }
    if (isVideoDone && isAudioDone) return -1;
    if (ReadPacket()) {
      SendPacket();
    } else {
      SendEnd();
    }
  }
}

void LiteralDecoder::DeliverVideo(LiteralFrame* frame) {
  const ffmpeg::FrameGuard guard(mFrame.get());
  frame->type = kVideoFrame;
  frame->size = static_cast<uint32_t>(ffmpeg::FramePacketSize(mFrame.get()));
  frame->pts = VideoTime();
  const auto format = static_cast<AVPixelFormat>(mFrame->format);
  const int bytes = av_image_get_buffer_size(format, mFrame->width, mFrame->height, 1);
  frame->bytes.resize(static_cast<size_t>(bytes));
  av_image_copy_to_buffer(frame->bytes.data(), bytes, mFrame->data, mFrame->linesize, format,
                          mFrame->width, mFrame->height, 1);
}

void LiteralDecoder::DeliverAudio(LiteralFrame* frame) {
  const ffmpeg::FrameGuard guard(mFrame.get());
  const auto samples = static_cast<size_t>(mFrame->nb_samples);
  frame->type = kAudioFrame;
  frame->pts = AudioTime();
  if (mConverter == nullptr) {
    // Half of the block: the bytes of one channel.
    frame->bytes.assign(mFrame->data[0], mFrame->data[0] + samples * sizeof(float));
  } else {
    frame->bytes.resize(samples * kStereo * sizeof(float));
    uint8_t* out = frame->bytes.data();
    const int converted =
        swr_convert(mConverter.get(), &out, mFrame->nb_samples,
                    const_cast<const uint8_t**>(mFrame->extended_data), mFrame->nb_samples);
    frame->bytes.resize(static_cast<size_t>(converted) * kStereo * sizeof(float));
  }
  frame->size = static_cast<uint32_t>(frame->bytes.size());
}

double LiteralDecoder::VideoTime() {
  // Better: a picture without a stamp follows the one before it.
  const AVStream* stream = mInput->streams[mVideoIndex];
  const AVRational base = stream->time_base;
  const auto stamp = static_cast<double>(mFrame->best_effort_timestamp);
  const bool hasStamp = mFrame->best_effort_timestamp != AV_NOPTS_VALUE;
  const double time = hasStamp ? base.num * stamp / base.den - mFirstVideo : mNextVideo;
  mNextVideo = time + 1 / av_q2d(stream->avg_frame_rate);
  return time;
}

double LiteralDecoder::AudioTime() const {
  const AVRational base = mInput->streams[mAudioIndex]->time_base;
  const double ticksPerSecond = static_cast<double>(base.den) / base.num;
  return static_cast<double>(mFrame->best_effort_timestamp) / ticksPerSecond - mFirstAudio;
}

bool LiteralDecoder::ReadPacket() { return av_read_frame(mInput.get(), mPacket.get()) >= 0; }

void LiteralDecoder::SendPacket() {
  const ffmpeg::PacketGuard guard(mPacket.get());
  ffmpeg::TagPacket(mPacket.get());
  const int index = mPacket->stream_index;
  if (index == mVideoIndex && !mIsSoundAlone) avcodec_send_packet(mVideo.get(), mPacket.get());
  if (index == mAudioIndex) avcodec_send_packet(mAudio.get(), mPacket.get());
}

void LiteralDecoder::SendEnd() {
  avcodec_send_packet(mVideo.get(), nullptr);
  if (mAudio != nullptr) avcodec_send_packet(mAudio.get(), nullptr);
}

void LiteralDecoder::Flush() {
  avcodec_flush_buffers(mVideo.get());
  if (mAudio != nullptr) avcodec_flush_buffers(mAudio.get());
}

}  // namespace codec
