// SPDX-License-Identifier: MIT
#include "codec/encoder/packet_track.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "base/log.h"
#include "codec/encoder/container.h"
#include "codec/ffmpeg/compat_rotation.h"
#include "codec/utils/field_order.h"

namespace codec {
namespace {

constexpr char kTag[] = "codec::PacketTrack";

// The source's name of the codec if the container knows it, or has none of its own; 0 leaves the
// choice to the container. The name tells variants apart, such as the qualities of ProRes.
uint32_t TagFor(const AVOutputFormat& format, const AVCodecParameters& source) {
  unsigned own = 0;
  const bool isKnown = format.codec_tag == nullptr ||
                       av_codec_get_id(format.codec_tag, source.codec_tag) == source.codec_id;
  if (isKnown || av_codec_get_tag2(format.codec_tag, source.codec_id, &own) == 0) {
    return source.codec_tag;
  }
  return 0;
}

// A tick may be as long as a picture.
AVRational ShortTick(AVRational tick) {
  constexpr double kLongest = 0.0001;  // seconds
  const auto parts = static_cast<int64_t>(std::ceil(av_q2d(tick) / kLongest));
  AVRational part = tick;
  const bool isExact =
      av_reduce(&part.num, &part.den, tick.num, tick.den * std::max<int64_t>(1, parts),
                std::numeric_limits<int>::max()) == 1;
  return isExact ? part : tick;
}

AVFieldOrder FieldsFor(const EncoderSettings& settings, AVFieldOrder source) {
  const FieldOrder order = FieldOrderOf(settings.fieldOrder).value_or(FieldOrder::kProgressive);
  if (!IsWoven(order)) return source;
  return order == FieldOrder::kTopFirst ? AV_FIELD_TT : AV_FIELD_BB;
}

}  // namespace

int PacketTrack::Create(const AVStream* source) {
  AVStream* const stream = mFile->AddStream(nullptr);
  if (stream == nullptr ||
      mFile->Remember(avcodec_parameters_copy(stream->codecpar, source->codecpar)) < 0 ||
      mFile->Remember(ffmpeg::CopySideData(stream, source)) < 0) {
    log_error(kTag, "Could not alloc video stream.");
    return -1;
  }
  mTrack.stream = stream;
  stream->codecpar->codec_tag = TagFor(*mFile->Format(), *source->codecpar);
  stream->codecpar->field_order = FieldsFor(mSettings, source->codecpar->field_order);
  // Some containers are written from the one, some from the other; FFmpeg refuses two shapes.
  if (source->sample_aspect_ratio.num > 0) {
    stream->codecpar->sample_aspect_ratio = source->sample_aspect_ratio;
  }
  stream->sample_aspect_ratio = stream->codecpar->sample_aspect_ratio;
  mStampBase = ShortTick(source->time_base);
  mBase = mStampBase;
  const AVRational rate = source->avg_frame_rate;
  const bool isCounted = HasFixedRate(*mFile->Format()) && rate.num > 0 && rate.den > 0;
  if (isCounted) mBase = av_inv_q(rate);
  if (isCounted || mSettings.hasConstantRate) stream->avg_frame_rate = rate;
  stream->time_base = isCounted ? mBase : source->time_base;
  return 0;
}

int PacketTrack::Write(AVPacket* packet, int64_t stamp, int64_t duration) {
  // The file sees to it that no two packets fall on one tick.
  packet->pts = av_rescale_q(stamp, mStampBase, mBase);
  packet->dts = packet->pts;
  packet->duration = std::max<int64_t>(1, av_rescale_q(duration, mStampBase, mBase));
  packet->pos = -1;
  const int result = mFile->WritePacket(packet, mBase, &mTrack);
  if (result >= 0) ++mPacketsWritten;
  return result;
}

}  // namespace codec
