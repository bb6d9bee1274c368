// SPDX-License-Identifier: MIT
#include "codec/writer/media_buffer.h"

#include <cstdlib>
#include <cstring>

#include "codec/utils/image_utils.h"

namespace codec {

void MediaBuffer::Allocate(int32_t bytes) {
  FreeData();
  size = bytes;
  if (bytes <= 0) return;
  // The slack is for image routines, which write (w+1)/2 by (h+1)/2 samples of each chroma plane
  // where the packed rule w*h*12/8 counts w*h/4: at most (w+h+2)/2 bytes more. As w+h never exceeds
  // w*h+1, half of the picture and a little covers every shape, a line of one pixel included.
  //
  // Not cleared: every user writes before it reads, and pages of the slack that nobody writes then
  // never cost memory.
  mData.reset(static_cast<uint8_t*>(std::malloc(static_cast<size_t>(WithSlack(bytes)))));
  if (mData) {
    mCapacity = bytes;
  } else {
    size = 0;
  }
}

void MediaBuffer::CopyIn(const uint8_t* bytes, int32_t n) {
  if (n <= 0 || n > mCapacity || bytes == nullptr) return;
  std::memcpy(mData.get(), bytes, static_cast<size_t>(n));
  size = n;
}

void MediaBuffer::FreeData() {
  mData.reset();
  mCapacity = 0;
}

}  // namespace codec
