// SPDX-License-Identifier: MIT
// A frame that an exact seek found and that the next read hands out.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>

#include "codec/decoder/decoded_frame.h"

namespace codec {

class PendingFrame {
 public:
  // Makes room for the largest frame; only exact seeks need it. False if memory runs out.
  bool Reserve(size_t bytes) {
    if (mBuffer == nullptr) mBuffer.reset(new (std::nothrow) uint8_t[bytes]);
    return mBuffer != nullptr;
  }
  uint8_t* Buffer() { return mBuffer.get(); }

  void Hold(const DecodedFrame& frame) {
    mFrame = frame;
    mHeld = true;
  }
  void Clear() { mHeld = false; }

  // Copies the held frame into `buffer`. False if there is none.
  bool Take(uint8_t* buffer, DecodedFrame* out) {
    if (!mHeld) return false;
    mHeld = false;
    *out = mFrame;
    if (buffer != nullptr) std::copy_n(mBuffer.get(), mFrame.size, buffer);
    return true;
  }

 private:
  std::unique_ptr<uint8_t[]> mBuffer;
  DecodedFrame mFrame;
  bool mHeld = false;
};

}  // namespace codec
