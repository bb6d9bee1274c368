// SPDX-License-Identifier: MIT
// The packets that a decoder has not got yet.
#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "codec/ffmpeg/owned.h"

namespace codec {

// Packets by the place at which they were added, one after another from the first that is kept.
class OwedPackets {
 public:
  // Adds a packet at the next place and leaves it blank; null stands for the end of the input.
  // False if there is no memory: then nothing is added.
  bool Add(AVPacket* packet);
  // The place of the next packet to be added.
  int64_t End() const { return mFirst + static_cast<int64_t>(mPackets.size()); }
  // The packet of a place that is kept; null for the end of the input. Owned here.
  AVPacket* At(int64_t place) const { return mPackets[static_cast<size_t>(place - mFirst)].get(); }
  // Drops the packets before this place. Returns their bytes.
  int64_t DropBefore(int64_t place);
  // Drops all. The next packet is that of place 0.
  void Clear();

 private:
  std::deque<ffmpeg::UniquePacket> mPackets;
  int64_t mFirst = 0;                        // place of the first one
  std::vector<ffmpeg::UniquePacket> mBlank;  // to be used again
};

}  // namespace codec
