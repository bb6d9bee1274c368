// SPDX-License-Identifier: MIT
#include "codec/decoder/packet_clock.h"

#include <limits>

#include "base/log.h"

namespace codec {
namespace {

void CountUp(int32_t* counter) {
  if (*counter < std::numeric_limits<int32_t>::max()) ++*counter;
}

}  // namespace

int64_t StampOf(const AVPacket* packet) {
  return packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
}

int64_t LengthOf(const AVPacket* packet, const AVStream* stream, AVRational base) {
  if (packet->duration > 0) return av_rescale_q(packet->duration, stream->time_base, base);
  const AVRational rate = stream->avg_frame_rate;
  return rate.num > 0 && rate.den > 0 ? av_rescale_q(1, av_inv_q(rate), base) : 0;
}

double Seconds(int64_t ticks, AVRational base) {
  return static_cast<double>(base.num) * static_cast<double>(ticks) / base.den;
}

int64_t PacketTimestamp(const AVPacket* packet) {
  if (const int64_t stamp = StampOf(packet); stamp != AV_NOPTS_VALUE) return stamp;
  log_error("", "get_avpackt_pts error, pkt pts and dts both invalid, use 0");
  return 0;
}

void PacketClock::Count(const AVPacket* packet) {
  if (packet->pts == AV_NOPTS_VALUE) CountUp(&mInvalidPts);
  if (packet->dts == AV_NOPTS_VALUE) CountUp(&mInvalidDts);
}

int64_t PacketClock::Choose(const AVPacket* packet) const {
  const bool trustPts = mInvalidPts <= mInvalidDts || packet->dts == AV_NOPTS_VALUE;
  return packet->pts != AV_NOPTS_VALUE && trustPts ? packet->pts : packet->dts;
}

}  // namespace codec
