// SPDX-License-Identifier: MIT
#include "codec/ffmpeg/compat_decoding.h"

#include <algorithm>

#include "codec/ffmpeg/releases.h"

namespace codec::ffmpeg {
namespace {

bool IsSet(AVRational rate) { return rate.num > 0 && rate.den > 0; }

}  // namespace

UniqueCodecContext NewDecoder(const AVStream* stream, const AVCodec* codec) {
  UniqueCodecContext context(avcodec_alloc_context3(codec));
  if (context == nullptr) return nullptr;
  if (avcodec_parameters_to_context(context.get(), stream->codecpar) < 0) return nullptr;
#if HAS_COPY_OPAQUE
  context->flags |= AV_CODEC_FLAG_COPY_OPAQUE;
#endif
  return context;
}

void TagPacket([[maybe_unused]] AVPacket* packet) {
#if HAS_COPY_OPAQUE
  packet->opaque = reinterpret_cast<void*>(static_cast<intptr_t>(packet->size));
#endif
}

int FramePacketSize(const AVFrame* frame) {
#if HAS_COPY_OPAQUE
  return static_cast<int>(reinterpret_cast<intptr_t>(frame->opaque));
#else
  return frame->pkt_size;
#endif
}

int PacketsLate(const AVCodecContext* context) {
  if ((context->active_thread_type & FF_THREAD_FRAME) == 0) return 0;
#if HAS_RECEIVING_THREADS
  return context->thread_count - 1;
#else
  // One less for FFV1.
  return context->thread_count - (context->codec_id == AV_CODEC_ID_FFV1 ? 2 : 1);
#endif
}

int DecodeOne(AVCodecContext* context, AVFrame* frame, AVFrame* spare, int* gotFrame,
              AVPacket* packet) {
  *gotFrame = 0;
  const bool drain = packet->size == 0;
  if (!drain) TagPacket(packet);
  int result = avcodec_send_packet(context, drain ? nullptr : packet);
  if (result < 0 && result != AVERROR_EOF) return result;
  for (;;) {
    result = avcodec_receive_frame(context, *gotFrame != 0 ? spare : frame);
    if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) break;
    if (result < 0) return result;
    if (*gotFrame != 0) {
      if (context->codec_type == AVMEDIA_TYPE_AUDIO) {
        av_frame_unref(frame);
        av_frame_move_ref(frame, spare);
      } else {
        av_frame_unref(spare);
      }
    }
    *gotFrame = 1;
    if (drain) break;
  }
  return packet->size;
}

int TicksPerFrame(AVCodecID id) {
  return id == AV_CODEC_ID_H264 || id == AV_CODEC_ID_MPEG2VIDEO || id == AV_CODEC_ID_VC1 ? 2 : 1;
}

AVRational CodecTimeBase(const AVStream* stream) {
  AVRational rate = stream->avg_frame_rate;
#if HAS_PARAMETER_SIDE_DATA
  if (!IsSet(rate)) rate = stream->codecpar->framerate;
  if (!IsSet(rate)) return stream->time_base;
#else
  if (!IsSet(rate)) return av_stream_get_codec_timebase(stream);
#endif
  return av_inv_q(av_mul_q(rate, AVRational{TicksPerFrame(stream->codecpar->codec_id), 1}));
}

AVRational RealBaseRate(const AVStream* stream) {
#if HAS_PARAMETER_SIDE_DATA
  // If there are no usable stamps, newer releases report the rate of fields for codecs that code
  // fields.
  const AVRational coded = stream->codecpar->framerate;
  if (TicksPerFrame(stream->codecpar->codec_id) == 2 && IsSet(coded) &&
      av_cmp_q(stream->r_frame_rate, av_mul_q(coded, AVRational{2, 1})) == 0) {
    return coded;
  }
#endif
  return stream->r_frame_rate;
}

int64_t Duration(const AVFrame* frame) {
#if HAS_FRAME_DURATION
  return frame->duration;
#else
  return frame->pkt_duration;
#endif
}

void SetDuration(AVFrame* frame, int64_t ticks) {
#if HAS_FRAME_DURATION
  frame->duration = ticks;
#else
  frame->pkt_duration = ticks;
#endif
}

void StampFirstSample(AVFrame* frame) {
#if LIBAVCODEC_VERSION_MAJOR < 59
  if (frame->pts != AV_NOPTS_VALUE) frame->best_effort_timestamp = frame->pts;
#else
  static_cast<void>(frame);
#endif
}

int64_t IndexedAtOrBefore(AVStream* stream, int64_t ticks) {
#if HAS_INDEX_CALLS
  const AVIndexEntry* const entry =
      avformat_index_get_entry_from_timestamp(stream, ticks, AVSEEK_FLAG_BACKWARD);
  return entry == nullptr ? AV_NOPTS_VALUE : entry->timestamp;
#else
  const int entry = av_index_search_timestamp(stream, ticks, AVSEEK_FLAG_BACKWARD);
  return entry < 0 ? AV_NOPTS_VALUE : stream->index_entries[entry].timestamp;
#endif
}

namespace {

template <typename Use>
void ForEachIndexed(AVStream* stream, const Use& use) {
#if HAS_INDEX_CALLS
  const int count = avformat_index_get_entries_count(stream);
  for (int i = 0; i < count; ++i) use(*avformat_index_get_entry(stream, i));
#else
  for (int i = 0; i < stream->nb_index_entries; ++i) use(stream->index_entries[i]);
#endif
}

}  // namespace

int64_t IndexedBytes(AVStream* stream) {
  int64_t end = 0;
  ForEachIndexed(
      stream, [&end](const AVIndexEntry& entry) { end = std::max(end, entry.pos + entry.size); });
  return end;
}

std::vector<int64_t> IndexedOutside(AVStream* stream, int64_t bytes) {
  std::vector<int64_t> stamps;
  size_t before = 0;
  ForEachIndexed(stream, [&](const AVIndexEntry& entry) {
    if (entry.pos + entry.size > bytes) {
      stamps.push_back(entry.timestamp);
    } else {
      before = stamps.size();
    }
  });
  stamps.resize(before);
  return stamps;
}

}  // namespace codec::ffmpeg
