// SPDX-License-Identifier: MIT
#include "codec/decoder/owed_packets.h"

#include <limits>
#include <utility>

namespace codec {

bool OwedPackets::Add(AVPacket* packet) {
  if (packet == nullptr) {
    mPackets.emplace_back();
    return true;
  }
  if (mBlank.empty()) mBlank.emplace_back(av_packet_alloc());
  ffmpeg::UniquePacket kept = std::move(mBlank.back());
  mBlank.pop_back();
  if (kept == nullptr) return false;
  av_packet_move_ref(kept.get(), packet);
  mPackets.push_back(std::move(kept));
  return true;
}

int64_t OwedPackets::DropBefore(int64_t place) {
  int64_t bytes = 0;
  for (; mFirst < place && !mPackets.empty(); ++mFirst) {
    ffmpeg::UniquePacket packet = std::move(mPackets.front());
    mPackets.pop_front();
    if (packet == nullptr) continue;
    bytes += packet->size;
    av_packet_unref(packet.get());
    mBlank.push_back(std::move(packet));
  }
  return bytes;
}

void OwedPackets::Clear() {
  DropBefore(std::numeric_limits<int64_t>::max());
  mFirst = 0;
}

}  // namespace codec
