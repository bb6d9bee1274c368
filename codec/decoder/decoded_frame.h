// SPDX-License-Identifier: MIT
// What is told of a frame beside its bytes.
#pragma once

#include <cstdint>

namespace codec {

struct DecodedFrame {
  uint32_t size = 0;
  uint32_t type = 0;  // FrameType
  double pts = 0;     // seconds
};

}  // namespace codec
