// SPDX-License-Identifier: MIT
// Packets without bytes, for what looks at stamps alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "codec/decoder/packet_source.h"

namespace codec {

// A packet whose picture is decoded for the sake of others only.
inline constexpr bool kHidden = false;

struct ScannedPacket {
  int stream;
  int64_t pts;
  int64_t dts;
  int64_t duration = 0;
  bool isKey = false;
  int64_t position = -1;
  bool isShown = true;
};

class ScannedPackets : public PacketSource {
 public:
  explicit ScannedPackets(std::vector<ScannedPacket> packets) : mPackets(std::move(packets)) {}
  bool Read(AVPacket* packet) override {
    if (mNext == mPackets.size()) return false;
    const ScannedPacket& next = mPackets[mNext++];
    packet->stream_index = next.stream;
    packet->pts = next.pts;
    packet->dts = next.dts;
    packet->duration = next.duration;
    packet->flags = (next.isKey ? AV_PKT_FLAG_KEY : 0) | (next.isShown ? 0 : AV_PKT_FLAG_DISCARD);
    packet->pos = next.position;
    return true;
  }
  // Packets that have been read.
  size_t Count() const { return mNext; }

 private:
  std::vector<ScannedPacket> mPackets;
  size_t mNext = 0;
};

}  // namespace codec
