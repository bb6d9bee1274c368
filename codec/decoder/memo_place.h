// SPDX-License-Identifier: MIT
// A packet of a walk, and the pictures that belong to the packet.
#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "codec/decoder/packet_identity.h"
#include "codec/ffmpeg/owned.h"

namespace codec {

struct MemoPicture {
  ffmpeg::UniqueFrame frame;  // null if the samples had to go
  int64_t stamp;              // ticks of the stream
  bool isKept = false;        // remembered; otherwise the samples go once the picture is given
};

struct MemoPlace {
  PacketIdentity identity;
  std::vector<MemoPicture> pictures;
  bool isComplete = false;  // the decoder has no more pictures for it
  bool isIntact = true;     // no picture is damaged or has a stamp that was guessed
};

using MemoRow = std::deque<MemoPlace>;

}  // namespace codec
