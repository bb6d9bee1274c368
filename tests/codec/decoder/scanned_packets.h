// SPDX-License-Identifier: MIT
// Packets without bytes, for what looks at stamps alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "codec/decoder/packet_source.h"

namespace codec {

struct ScannedPacket {
  int stream;
  int64_t pts;
  int64_t dts;
  int64_t duration;
};

class ScannedPackets : public PacketSource {
 public:
  explicit ScannedPackets(std::vector<ScannedPacket> packets) : mPackets(std::move(packets)) {}
  bool Read(AVPacket* packet) override {
    if (mNext == mPackets.size()) return false;
    packet->stream_index = mPackets[mNext].stream;
    packet->pts = mPackets[mNext].pts;
    packet->dts = mPackets[mNext].dts;
    packet->duration = mPackets[mNext].duration;
    ++mNext;
    return true;
  }

 private:
  std::vector<ScannedPacket> mPackets;
  size_t mNext = 0;
};

}  // namespace codec
