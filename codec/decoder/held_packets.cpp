#include "codec/decoder/held_packets.h"

#include <utility>

namespace codec {

AVPacket* HeldPackets::Blank() {
  if (mBlank.empty()) mBlank.emplace_back(av_packet_alloc());
  return mBlank.back().get();
}

void HeldPackets::Add(double seconds) {
  mPackets.push_back({std::move(mBlank.back()), seconds});
  mBlank.pop_back();
  if (Size() > kHeard) mPrerollSeconds += mPackets[Size() - kHeard - 1].seconds;
  while (Size() > kHeard + mNeed.packets && SufficesWithout(mPackets.front().seconds)) DropOldest();
}

bool HeldPackets::SufficesWithout(double seconds) const {
  return Size() >= kHeard + mNeed.packets && mPrerollSeconds - seconds >= mNeed.seconds;
}

void HeldPackets::DropOldest() {
  mPrerollSeconds -= mPackets.front().seconds;
  av_packet_unref(mPackets.front().packet.get());
  mBlank.push_back(std::move(mPackets.front().packet));
  mPackets.pop_front();
}

void HeldPackets::Clear() {
  while (!mPackets.empty()) {
    av_packet_unref(mPackets.front().packet.get());
    mBlank.push_back(std::move(mPackets.front().packet));
    mPackets.pop_front();
  }
  mPrerollSeconds = 0;
}

}  // namespace codec
