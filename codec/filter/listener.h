// SPDX-License-Identifier: MIT
// Whoever wants to hear of changes while frames flow.
#pragma once

#include <cstdint>

namespace codec {

class Listener {
 public:
  Listener() = default;
  virtual ~Listener() = default;
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  // `what` names the event, `arg1` carries its value. The result has no meaning.
  virtual int32_t OnEvent(int32_t what, int32_t arg1) = 0;
};

// The event that moves the logo: the new rotation in bits 16 to 31, the new position in bits 0
// to 15 of its value.
constexpr int32_t kWaterMarkEvent = 0x1001;

}  // namespace codec
