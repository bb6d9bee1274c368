// SPDX-License-Identifier: MIT
// The backward walk, one plain step after another: what the reader of the tree has to give.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "tests/reverse/literal_decoder.h"

namespace codec {

// What is compared of a frame.
struct WalkedFrame {
  uint32_t type = 0;  // FrameType
  uint32_t size = 0;  // as the decoder tells it
  double pts = 0;     // seconds
  size_t hash = 0;    // of the picture's or the block's bytes

  friend bool operator==(const WalkedFrame& a, const WalkedFrame& b) {
    return a.type == b.type && a.size == b.size && a.pts == b.pts && a.hash == b.hash;
  }
};
std::ostream& operator<<(std::ostream& out, const WalkedFrame& frame);

// The frames of one step that belong to the range, newest first.
struct WalkedStep {
  double cursor = 0;  // seconds; what lies before it is still to do
  std::vector<WalkedFrame> frames;
};

using Steps = std::vector<WalkedStep>;

size_t HashBytes(const uint8_t* bytes, size_t count);

// A part of a clip as a user asks for it: 0 as the end stands for the end of the clip.
struct WalkedRange {
  double start = 0;  // seconds
  double end = 0;    // seconds

  WalkedRange In(double duration) const;
};

Steps WalkLiterally(LiteralDecoder* decoder, const WalkedRange& asked);

}  // namespace codec
