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

int64_t PacketTimestamp(const AVPacket* packet) {
  if (packet->pts != AV_NOPTS_VALUE) return packet->pts;
  if (packet->dts != AV_NOPTS_VALUE) return packet->dts;
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
