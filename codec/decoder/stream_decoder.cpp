// SPDX-License-Identifier: MIT
#include "codec/decoder/stream_decoder.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "base/log.h"
#include "codec/decoder/decoder_choice.h"
#include "codec/decoder/decoder_tag.h"
#include "codec/decoder/packet_clock.h"
#include "codec/decoder/packet_parts.h"
#include "codec/ffmpeg/compat_decoding.h"

namespace codec {
namespace {

// As many as there are cores, but each thread holds a picture or two in flight, which must not cost
// more than the pictures that a run keeps anyway.
int ThreadsFor(const AVCodecContext* context) {
  constexpr int64_t kMostThreads = 16;
  constexpr int64_t kBytesInFlight = int64_t{256} << 20;
  const int64_t pictureBytes = std::max<int64_t>(
      1, av_image_get_buffer_size(context->pix_fmt, context->width, context->height, 1));
  const int64_t cores = std::max(1U, std::thread::hardware_concurrency());
  return static_cast<int>(
      std::clamp<int64_t>(std::min(cores, kBytesInFlight / pictureBytes), 1, kMostThreads));
}

}  // namespace

StreamDecoder::StreamDecoder(const AVStream* stream, ffmpeg::UniqueCodecContext context,
                             std::unique_ptr<KeyPackets> keys, FirstFailure* failure)
    : mStream(stream),
      mContext(std::move(context)),
      mKeyPackets(std::move(keys)),
      mTicksPerSecond(static_cast<double>(stream->time_base.den) / stream->time_base.num),
      mFailure(failure),
      mPlaces(ffmpeg::PacketsLate(mContext.get())) {}

std::unique_ptr<StreamDecoder> StreamDecoder::Open(const InputFile& input, AVMediaType type,
                                                   int threads, bool wantsSecondPicture) {
  const char* const typeName = av_get_media_type_string(type);
  AVFormatContext* const file = input.Context();
  const int index = av_find_best_stream(file, type, -1, -1, nullptr, 0);
  if (index < 0) {
    log_error(kDecoderTag, "Could not find %s stream in input file '%s'", typeName,
              input.Path().c_str());
    return nullptr;
  }
  return OpenStream(input, index, threads, wantsSecondPicture);
}

std::unique_ptr<StreamDecoder> StreamDecoder::OpenStream(const InputFile& input, int index,
                                                         int threads, bool wantsSecondPicture) {
  const AVStream* const stream = input.Context()->streams[index];
  const AVMediaType type = stream->codecpar->codec_type;
  const char* const typeName = av_get_media_type_string(type);
  const AVCodec* const codec = ChooseDecoder(stream, wantsSecondPicture);
  if (codec == nullptr) {
    log_error(kDecoderTag, "Failed to find %s codec", typeName);
    return nullptr;
  }
  ffmpeg::UniqueCodecContext context = ffmpeg::NewDecoder(stream, codec);
  // To be set before opening: many decoders size their tables by this count, and read it again
  // later.
  if (context != nullptr) context->thread_count = threads > 0 ? threads : ThreadsFor(context.get());
  AVDictionary* options = nullptr;
  int opened = av_dict_set(&options, "refcounted_frames", "1", 0);
  if (opened >= 0) {
    opened = context == nullptr ? AVERROR(ENOMEM) : avcodec_open2(context.get(), codec, &options);
  }
  av_dict_free(&options);
  std::unique_ptr<KeyPackets> keys;
  if (type == AVMEDIA_TYPE_VIDEO) {
    keys = KeyPackets::Make(stream);
    if (keys == nullptr) opened = AVERROR(ENOMEM);
  }
  if (opened < 0) {
    log_error(kDecoderTag, "Failed to open %s codec", typeName);
    return nullptr;
  }
  return std::unique_ptr<StreamDecoder>(
      new StreamDecoder(stream, std::move(context), std::move(keys), &input.Failure()));
}

bool StreamDecoder::PassesOver(const AVPacket* packet) {
  const bool isStamped = packet->pts != AV_NOPTS_VALUE || !mAwaitingStamp;
  mAwaitingKey = mAwaitingKey && !(mKeyPackets->IsKey(packet) && isStamped);
  return mAwaitingKey;
}

int StreamDecoder::Send(AVPacket* packet) {
  if (mResting) return 0;
  if (packet == nullptr) {
    mDraining = true;
    mPlaces.SentEnd(mContext->has_b_frames);
  } else {
    mFed = true;
    mFailures = 0;
    ffmpeg::TagPacket(packet);
    mPlaces.Sent(packet->dts, PartsOf(mContext->codec_id, *packet));
  }
  return mFailure->Note(avcodec_send_packet(mContext.get(), packet));
}

int StreamDecoder::Receive(AVFrame* frame) {
  // More failures in a row than any decoder has threads: it has nothing left to give.
  constexpr int kMostFailures = 256;
  if (mResting) return AVERROR_EOF;
  if (mFailures > kMostFailures) return mDraining ? AVERROR_EOF : AVERROR(EAGAIN);
  int result = mFailure->Note(avcodec_receive_frame(mContext.get(), frame));
  // A decoder that has missed the end of the input is told again.
  while (result == AVERROR(EAGAIN) && mDraining) {
    const bool isTold = avcodec_send_packet(mContext.get(), nullptr) >= 0;
    result = isTold ? mFailure->Note(avcodec_receive_frame(mContext.get(), frame)) : AVERROR_EOF;
    if (++mFailures > kMostFailures) result = AVERROR_EOF;
  }
  if (result >= 0) {
    ++mFramesDecoded;
    mPlaces.Gave(frame->pkt_dts);
    mFailures = 0;
  } else if (result == AVERROR_EOF) {
    mPlaces.Ended();
  } else if (result != AVERROR(EAGAIN)) {
    ++mFailures;
  } else {
    mPlaces.WantsPacket();
  }
  return result;
}

void StreamDecoder::Flush() {
  avcodec_flush_buffers(mContext.get());
  mPlaces.Flush();
  mDraining = false;
  mFailures = 0;
  mResting = false;
  mAwaitingKey = false;
  mFed = false;
}

int StreamDecoder::DecodeOne(AVPacket* packet, AVFrame* frame, AVFrame* spare, int* gotFrame) {
  const int result =
      mFailure->Note(ffmpeg::DecodeOne(mContext.get(), frame, spare, gotFrame, packet));
  if (*gotFrame != 0) ++mFramesDecoded;
  return result;
}

double StreamDecoder::Seconds(int64_t ticks) const {
  return codec::Seconds(ticks, mStream->time_base);
}

void LogDecodeError(AVMediaType type, int error) {
  if (type == AVMEDIA_TYPE_VIDEO) {
    log_warn(kDecoderTag, "Error decoding video frame ret (%d)", error);
  } else {
    log_error(kDecoderTag, "Error decoding audio frame (%d)", error);
  }
}

}  // namespace codec
