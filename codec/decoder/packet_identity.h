// SPDX-License-Identifier: MIT
// Tells the packets of one stream apart.
#pragma once

#include <cstdint>

#include "codec/ffmpeg/ffmpeg_headers.h"

namespace codec {

struct PacketIdentity {
  int size = 0;          // bytes
  int64_t pts = 0;       // ticks of the stream, as the next one
  int64_t dts = 0;       // see above
  int64_t position = 0;  // in the file, in bytes
  bool isEnd = false;    // the end of the input instead of a packet

  // `packet` may be null for the end of the input.
  static PacketIdentity Of(const AVPacket* packet) {
    if (packet == nullptr) return {0, 0, 0, 0, true};
    return {packet->size, packet->pts, packet->dts, packet->pos, false};
  }
  // In ticks of the stream; AV_NOPTS_VALUE at the end of the input, and if the packet has none.
  int64_t Stamp() const {
    if (isEnd) return AV_NOPTS_VALUE;
    return pts != AV_NOPTS_VALUE ? pts : dts;
  }
  // Leaves out the stamp of decoding: demuxers make it up, and begin anew at each landing.
  bool IsSamePacket(const PacketIdentity& other) const {
    return size == other.size && pts == other.pts && position == other.position &&
           isEnd == other.isEnd;
  }
  friend bool operator==(const PacketIdentity& a, const PacketIdentity& b) {
    return a.IsSamePacket(b) && a.dts == b.dts;
  }
};

}  // namespace codec
