// SPDX-License-Identifier: MIT
// One decoded picture or audio frame on its way from the decoder to the writer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace codec {

// Gives pages back to the system.
struct UnmapPages {
  size_t bytes = 0;
  void operator()(uint8_t* pages) const;
};

class FrameBuffer {
 public:
  // Gives `data` room for this many bytes. Bytes that were there are kept, new ones are zero.
  // Throws std::bad_alloc.
  void Resize(int32_t bytes);

  uint8_t* Data() const { return mData.get(); }
  // What `data` was last sized to; 10 before the first sizing.
  int32_t Length() const { return mLength; }

  // Written by the decoder.
  uint32_t type = 0;  // FrameType
  uint32_t size = 0;  // as FFmpegDecoder::ReceiveFrame reports it
  double pts = 0;     // seconds

 private:
  using Pages = std::unique_ptr<uint8_t[], UnmapPages>;
  static Pages MapPages(size_t bytes);

  Pages mData;
  int32_t mLength = 10;
};

}  // namespace codec
