// SPDX-License-Identifier: MIT
#include "codec/decoder/held_packets.h"

#include <algorithm>
#include <utility>

namespace codec {

void HeldPackets::StartOver(double target) {
  while (!mPackets.empty()) DropOldest();
  mFirstHeard = 0;
  mPrerollSeconds = 0;
  mTarget = target;
}

AVPacket* HeldPackets::Blank() {
  if (mBlank.empty()) mBlank.emplace_back(av_packet_alloc());
  return mBlank.back().get();
}

void HeldPackets::Add(double begin, double length) {
  mPackets.push_back({std::move(mBlank.back()), length, begin + length});
  mBlank.pop_back();
  while (mFirstHeard + kHeard < Size() && mPackets[mFirstHeard].end <= mTarget) {
    mPrerollSeconds += mPackets[mFirstHeard].length;
    ++mFirstHeard;
  }
  while (mFirstHeard > 0 && SufficesWithout(1, mPackets.front().length)) {
    mPrerollSeconds -= mPackets.front().length;
    --mFirstHeard;
    DropOldest();
  }
}

// One packet that ends before the target is wanted even by a decoder without a need: without it
// there might be another one that reaches over the target.
bool HeldPackets::SufficesWithout(size_t packets, double seconds) const {
  return mFirstHeard >= std::max<size_t>(mNeed.packets, 1) + packets &&
         mPrerollSeconds - seconds >= mNeed.seconds;
}

void HeldPackets::DropOldest() {
  av_packet_unref(mPackets.front().packet.get());
  mBlank.push_back(std::move(mPackets.front().packet));
  mPackets.pop_front();
}

}  // namespace codec
